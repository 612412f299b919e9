# The target SLEEF::SLEEF: vectorised functions that benchmarks compare with.
include(ImportLibrary)
vestrel_import_library(SLEEF sleef.h sleef)
