message(FATAL_ERROR "The parent's own module was taken for one of orvek23's")
