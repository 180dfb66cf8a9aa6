# Packages by components: the .deb files, and one .tar.gz with everything.
set(CPACK_PACKAGE_NAME mirovan)
set(CPACK_PACKAGE_VENDOR "the mirovan authors")
set(CPACK_PACKAGE_CONTACT "the mirovan authors <packages@mirovan.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://mirovan.example")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_FILE_NAME mirovan-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(this_release "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(runtime_package libmirovan${PROJECT_VERSION_MAJOR})
set(about "mirovan performs common file, hardware, process and system operations for
programs in C, C++ and Python. Every operation returns true or false, and a
failure leaves a code and the errno of the system call behind it.")

# deb_package COMPONENT NAME SECTION SYNOPSIS CONTENT: the fields that every package has.
set(CPACK_COMPONENTS_ALL "")
macro(deb_package component name section synopsis content)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${synopsis}\n${about}\n\n${content}")
endmacro()

deb_package(runtime ${runtime_package} libs "library for file, process and system operations"
  "This package has the shared library and the commands that it runs.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# What operations run through the shell, less what every system has.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "procps, xxd")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "libxcb1, x11-xserver-utils")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
set(control ${PROJECT_BINARY_DIR}/debian)
file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
set(soname "libmirovan ${PROJECT_VERSION_MAJOR}")
file(WRITE ${control}/shlibs "${soname} ${runtime_package} (>= ${PROJECT_VERSION})\n")
file(STRINGS ${PROJECT_SOURCE_DIR}/source/exports.txt symbols REGEX "^[^#]+ [0-9.]+( linux| libstdc\\+\\+)?$")
list(TRANSFORM symbols REPLACE "^([^ ]+) ([0-9.]+).*" " \\1@MIROVAN_\\2 \\2")
list(APPEND symbols " MIROVAN_1.0@MIROVAN_1.0 1.0" " MIROVAN_1.1@MIROVAN_1.1 1.1")
list(SORT symbols)
list(JOIN symbols "\n" symbols)
file(WRITE ${control}/symbols "libmirovan.so.${PROJECT_VERSION_MAJOR} ${runtime_package} #MINVER#\n${symbols}\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${control}/triggers ${control}/shlibs ${control}/symbols)

deb_package(development libmirovan-dev libdevel "headers and manual pages for libmirovan"
  "This package has the headers, the manual pages, examples, and the files that
CMake and pkg-config read.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${this_release})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libmirovan-doc)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_MULTIARCH same)

# The guide and the reference, where tools/docs has made them.
set(MIROVAN_DOCUMENTS "" CACHE PATH "Folder of the HTML pages to install; tools/docs makes them")
if(MIROVAN_DOCUMENTS)
  deb_package(documents libmirovan-doc doc "guide and reference for libmirovan"
    "This package has the guide and the reference as HTML pages.")
  set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_MULTIARCH foreign)
  install(DIRECTORY ${MIROVAN_DOCUMENTS}/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html COMPONENT documents)
endif()

# The Python package, in a prefix that a Python looks into.
set(MIROVAN_PYTHON_FOLDER "" CACHE STRING "Folder for the Python package, such as lib/python3/dist-packages")
if(MIROVAN_PYTHON_FOLDER)
  deb_package(python python3-mirovan python "Python 3 package over libmirovan"
    "This package has the Python 3 module.")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${runtime_package} (>= ${PROJECT_VERSION}), python3:any")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/debian/postinst ${PROJECT_SOURCE_DIR}/packaging/debian/prerm)
  install(DIRECTORY bindings/python/mirovan DESTINATION ${MIROVAN_PYTHON_FOLDER} COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
endif()

# The command line program, with its manual page, completion and units.
if(TARGET mirovan_program)
  deb_package(tools mirovan utils "system, process and file facts at the command line"
    "This package has the command line program mirovan, and a timer for systemd that
writes the metrics of the machine where Prometheus' node exporter finds them.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  # The library that it needs comes from the same build.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_package} (>= ${PROJECT_VERSION})")
endif()

# Ordinary prefixes get one folder of documents; packaging/debian/finish.cmake makes of it what
# Debian asks of each package.
install(FILES LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
  COMPONENT development FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/repack.cmake)
set(CPACK_MIROVAN_SOURCE ${PROJECT_SOURCE_DIR})

include(CPack)
