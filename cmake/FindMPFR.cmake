# The target MPFR::MPFR: floats of any precision, the reference of tests.
include(ImportLibrary)
vestrel_import_library(MPFR mpfr.h mpfr)
