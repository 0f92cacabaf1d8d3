# Makes the linker's version script from the list of exports:
#   cmake -DEXPORTS=exports.txt -DMAP=qal.map -P version_script.cmake
file(STRINGS "${EXPORTS}" lines REGEX "^[A-Za-z_]")
set(names "")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^[A-Za-z0-9_]+" name "${line}")
  string(APPEND names "    ${name};\n")
endforeach()
file(WRITE "${MAP}" "QAL_1 {\n  global:\n${names}  local: *;\n};\n")
