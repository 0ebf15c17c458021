# Cross build for 64-bit Arm switches with Debian's cross compiler. The
# target's libraries (cJSON) are Debian's arm64 packages, installed beside the
# build machine's own in /usr/lib/aarch64-linux-gnu, which the library
# architecture makes the place searched; a library of the wrong architecture
# would fail the link rather than pass unnoticed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
