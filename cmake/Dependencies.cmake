# Everything that comes from outside. libcurl and c-ares are our own build (scripts/build-curl), the rest is the
# distribution's.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(OpenSSL REQUIRED)
include(PrivateCurl) # quorvad_curl, quorvad_cares
