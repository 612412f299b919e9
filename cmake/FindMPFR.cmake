# The target MPFR::MPFR: numbers of any precision, which tests ask what is right.
include(ImportLibrary)
vestrel_import_library(MPFR mpfr.h mpfr)
