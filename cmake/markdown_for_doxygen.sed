# Doxygen 1.9 has other names for the headings of a page than the anchors that links within it use:
# keeps the words of such a link.
s/\[([^]]*)\]\(#[^)]*\)/\1/g
# It takes no image for the text of a link, and lays the picture beside its pages.
s/^\[<img src="docs\//<img src="/
s/>\]\(docs\/walk\.svg\)$/>/
