include(FetchContent)
FetchContent_Declare(Vestrel SOURCE_DIR /path/to/this/checkout) # or URL, or GIT_REPOSITORY
FetchContent_MakeAvailable(Vestrel)
