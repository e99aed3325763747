# Reads `objdump -d -C`: names the functions that have AVX opcodes and are not of the namespace of
# the region that is compiled for AVX2. Such a function could be one that other sources share, and
# end a process on a processor without AVX2; the linker keeps any of its copies.
/^[0-9a-f]+ <.*>:$/ {
  name = $0
  sub(/^[0-9a-f]+ </, "", name)
  sub(/>:$/, "", name)
  next
}
/\t(v[a-z]|.*%[yz]mm)/ {
  if (name ~ /metapod_avx2/) {
    inside++
  } else if (!(name in outside)) {
    outside[name] = $0
  }
}
# In the region, a function of eight lanes that is not: its callers hand vectors over in registers
# that it does not know.
/\t[a-uw-z][a-z0-9]* .*%xmm/ && name ~ /metapod_avx2.*__vector\(8\)/ && !(name in left_out) {
  left_out[name] = $0
}
END {
  status = 0
  for (name in left_out) {
    print "not compiled for AVX2 in its region: " name "\n   " left_out[name]
    status = 1
  }
  for (name in outside) {
    print "compiled for AVX2 outside its region: " name "\n   " outside[name]
    status = 1
  }
  if (inside == 0) {
    print "no AVX2 code found: nothing was tested"
    status = 1
  }
  exit status
}
