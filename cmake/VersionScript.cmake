# Writes the linker version script of the shared object from the committed
# export list, so that only the public API is exported: implicit
# instantiations of standard templates (which libstdc++ gives default
# visibility) stay local.
function(dw_write_version_script list out)
  file(STRINGS ${list} names REGEX "^[^#]")
  set(c_names "")
  set(cxx_names "")
  foreach(name IN LISTS names)
    if(name MATCHES "[:(]")
      string(REPLACE "\"" "\\\"" name "${name}")
      string(APPEND cxx_names "      \"${name}\";\n")
    else()
      string(APPEND c_names "    ${name};\n")
    endif()
  endforeach()
  file(WRITE ${out}.tmp "{\n  global:\n${c_names}    extern \"C++\" {\n${cxx_names}    };\n  local: *;\n};\n")
  configure_file(${out}.tmp ${out} COPYONLY)
endfunction()
