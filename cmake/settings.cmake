set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# What a project around this one decides for itself.
if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
  endif()
endif()

# How everything of this project is compiled.
add_library(mirovan_settings INTERFACE)
target_compile_options(mirovan_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -fstack-protector-strong)
target_include_directories(mirovan_settings INTERFACE ${PROJECT_SOURCE_DIR})

set(MIROVAN_SANITIZE "" CACHE STRING "Sanitizers for everything, such as address,undefined")
if(MIROVAN_BUILD_FUZZ)
  if(NOT MIROVAN_SANITIZE)
    set(MIROVAN_SANITIZE address,undefined)
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(MIROVAN_SANITIZE)
  add_compile_options(-fsanitize=${MIROVAN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MIROVAN_SANITIZE})
elseif(NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
  # It needs optimization.
  target_compile_definitions(mirovan_settings INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_FORTIFY_SOURCE=2>)
endif()

# What is counted is the library; what tests it is compiled as ever.
option(MIROVAN_COVERAGE "Count which lines of the library the tests run" OFF)
if(MIROVAN_COVERAGE)
  set(MIROVAN_COUNTED --coverage -fprofile-update=atomic -O0 -fno-inline -U_FORTIFY_SOURCE)
  add_link_options(--coverage)
endif()

if(NOT APPLE)
  target_link_options(mirovan_settings INTERFACE
    LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:--as-needed)
endif()
