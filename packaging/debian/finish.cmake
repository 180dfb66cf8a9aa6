# Makes of the staged trees of a .deb what Debian asks for: a folder of documents named as the package
# is, with the licence and the changelog in it, and compressed manual pages.
cmake_policy(VERSION 3.25)
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
set(source ${CPACK_MIROVAN_SOURCE})
file(READ ${source}/LICENSE license)
string(REGEX REPLACE "^.*reserved\\.?\n|^MIT License\n+" "" license "${license}")
string(REGEX REPLACE "\n\n+" "\n.\n" license "${license}")
string(REGEX REPLACE "\n([^\n])" "\n \\1" license " ${license}")
# The time of the newest change, so that a build can be repeated.
execute_process(COMMAND git -C ${source} log -1 --format=%aD OUTPUT_VARIABLE date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

file(STRINGS ${source}/CHANGELOG.md releases REGEX "^## ")
set(changelog "")
foreach(release IN LISTS releases)
  # The day of a release stands behind it; the one in the making has none.
  string(REGEX MATCH "## ([0-9.]+) \\((.*)\\)" release "${release}")
  set(release ${CMAKE_MATCH_1})
  if(NOT CMAKE_MATCH_2 STREQUAL "unreleased")
    execute_process(COMMAND date -R -u -d ${CMAKE_MATCH_2} OUTPUT_VARIABLE date
      OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endif()
  string(APPEND changelog "mirovan (${release}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=low

  * Release ${release}; what changed is in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}

")
endforeach()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(package ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(documents ${share}/doc/${package})
  if(EXISTS ${share}/doc/mirovan AND NOT package STREQUAL "mirovan")
    file(RENAME ${share}/doc/mirovan ${documents})
  endif()
  file(REMOVE ${documents}/LICENSE ${documents}/CHANGELOG.md)
  configure_file(${source}/packaging/debian/copyright.in ${documents}/copyright @ONLY)
  file(WRITE ${documents}/changelog.Debian "${changelog}")
  file(COPY_FILE ${source}/CHANGELOG.md ${documents}/changelog)
  if(component STREQUAL "documents")
    file(MAKE_DIRECTORY ${share}/doc-base)
    file(COPY_FILE ${source}/packaging/debian/doc-base ${share}/doc-base/mirovan)
  endif()
  file(GLOB_RECURSE pages ${share}/man/*)
  execute_process(COMMAND gzip -9nf ${documents}/changelog.Debian ${documents}/changelog ${pages}
    COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE tree LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/*)
  foreach(path IN LISTS tree)
    if(IS_DIRECTORY ${path})
      file(CHMOD ${path} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
        WORLD_READ WORLD_EXECUTE)
    endif()
  endforeach()
endforeach()
