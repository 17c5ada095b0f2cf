# What each part of the build needs, by the names of Debian 12. Read by the tools
# beside it.

LIBRARY_PACKAGES="g++ cmake ninja-build pkg-config gfortran liblapack-dev libblas-dev"
HOST_PACKAGES="libavformat-dev libavcodec-dev libswscale-dev libavutil-dev libcairo2-dev
    libcli11-dev libsdl2-dev nlohmann-json3-dev"
TEST_PACKAGES="clang-14 libclang-rt-14-dev binutils make doxygen python3
    man-db libgtest-dev libgmock-dev libboost-graph-dev libmpfr-dev libgmp-dev gcovr xvfb xauth ffmpeg"
PYTHON_PACKAGES="python3-dev pybind11-dev python3-numpy python3-pytest mypy python3-av
    python3-opencv python3-pandas python3-matplotlib python3-distributed
    jupyter-nbconvert python3-ipykernel"
WHEEL_PACKAGES="python3-build python3-skbuild python3-setuptools python3-wheel python3-venv python3-pip"
MLT_PACKAGES="libmlt-dev melt"
KDENLIVE_PACKAGES="kdenlive mediainfo frei0r-plugins xvfb xauth xdotool imagemagick ffmpeg
    dbus-bin dbus-daemon at-spi2-core python3-pyatspi"
FORMAT_PACKAGE="clang-format-14"
TIDY_PACKAGES="clang-14 clang-tidy-14 python3"
PACKAGING_PACKAGES="dpkg-dev lintian doxygen python3"
ABI_PACKAGES="abigail-tools binutils xz-utils"
BENCHMARK_PACKAGES="libbenchmark-dev libopencv-dev libopencv-contrib-dev"
ARM64_PACKAGES="g++-aarch64-linux-gnu gfortran-aarch64-linux-gnu qemu-user-static"
WINDOWS_PACKAGES="g++-mingw-w64-x86-64-posix gfortran-mingw-w64-x86-64-posix wine wine64
    googletest"
WINDOWS_TOOL_PACKAGES="libz-mingw-w64-dev libcli11-dev nlohmann-json3-dev pkg-config make xz-utils"
BARE_ROOT_PACKAGES="debootstrap debian-archive-keyring git util-linux"
