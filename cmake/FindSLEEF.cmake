# The target SLEEF::SLEEF: vectorised functions, which benchmarks compare with.
include(ImportLibrary)
vestrel_import_library(SLEEF sleef.h sleef)
