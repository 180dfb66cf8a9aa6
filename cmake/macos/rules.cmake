# CMake asks the machine it runs on whether its macOS knows run paths; here only the answer counts.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
