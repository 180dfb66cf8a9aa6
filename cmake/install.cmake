install(TARGETS mirovan)
