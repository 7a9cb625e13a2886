# External libraries: libcurl and c-ares are our own build (scripts/build-curl), the rest comes from the distribution.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(OpenSSL REQUIRED)
include(PrivateCurl) # quorvad_curl, quorvad_cares
