# cmake --install: libraries, headers, kvdm, a CMake package and pkg-config files.
