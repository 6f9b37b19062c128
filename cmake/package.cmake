# The Debian package: `cpack -G DEB` in a build directory, or scripts/package, which also checks it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kzr2xml)
set(CPACK_PACKAGE_VENDOR "kzr2xml developers")
set(CPACK_PACKAGE_CONTACT "kzr2xml developers <kzr2xml@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "convert recorded runs of flow graphs to GraphML and TraceML")
# Paths inside a package follow the distribution, whatever prefix the build directory has for itself.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Run when all files are in place; see there.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/compress_documents.cmake)
set(CPACK_KZR_PACKAGING_DIRECTORY ${PROJECT_SOURCE_DIR}/packaging)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CPACK_PACKAGE_CONTACT})
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# For `kzr record` of programs that were built with GCC.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS libomp5-14)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "kzr2xml reads the trace files that an instrumented program left behind, one
for each of its threads, rebuilds the flow graphs and OpenMP regions that
the program made, and writes their structure as GraphML and their timeline
as TraceML. kzr shows what is in such trace files, damaged ones too.")

include(CPack)
