# Makes the linker's list of exported symbols from source/exports.txt, which has one symbol a line.
# A line may end in the standard library or the platform that it is for.
include(CheckCXXSymbolExists)
check_cxx_symbol_exists(_LIBCPP_VERSION version MIROVAN_USES_LIBCXX)
set(here linux libstdc++)
if(APPLE)
  set(here macos libc++)
elseif(MIROVAN_USES_LIBCXX)
  set(here linux libc++)
endif()

file(STRINGS ${PROJECT_SOURCE_DIR}/source/exports.txt export_lines REGEX "^[^#]")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/source/exports.txt)
set(exports "")
foreach(line IN LISTS export_lines)
  string(REPLACE " " ";" line "${line}")
  list(POP_FRONT line symbol only_for)
  if(NOT only_for OR only_for IN_LIST here)
    list(APPEND exports ${symbol})
  endif()
endforeach()
list(SORT exports)

# The plain list, for the check of the built library.
list(JOIN exports "\n" export_text)
set(MIROVAN_EXPORTS_FILE ${PROJECT_BINARY_DIR}/mirovan.exports.txt)
file(CONFIGURE OUTPUT ${MIROVAN_EXPORTS_FILE} CONTENT "${export_text}\n")

if(APPLE)
  list(TRANSFORM exports PREPEND "_" OUTPUT_VARIABLE mach_exports)
  list(JOIN mach_exports "\n" mach_text)
  set(linker_list ${PROJECT_BINARY_DIR}/mirovan.exports)
  file(CONFIGURE OUTPUT ${linker_list} CONTENT "${mach_text}\n")
  target_link_options(mirovan PRIVATE "LINKER:-exported_symbols_list,${linker_list}")
else()
  list(JOIN exports ";\n    " elf_text)
  set(linker_list ${PROJECT_BINARY_DIR}/mirovan.map)
  file(CONFIGURE OUTPUT ${linker_list}
    CONTENT "{\n  global:\n    ${elf_text};\n  local:\n    *;\n};\n" @ONLY)
  target_link_options(mirovan PRIVATE
    "LINKER:--version-script=${linker_list}" LINKER:--no-undefined-version)
  if(NOT MIROVAN_SANITIZE)
    target_link_options(mirovan PRIVATE LINKER:--no-undefined)
  endif()
endif()
set_property(TARGET mirovan APPEND PROPERTY LINK_DEPENDS ${linker_list})
