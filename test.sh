#!/bin/bash
# Installs what is needed, builds the release preset, and runs all tests.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

.ci/packages g++ cmake ninja-build pkgconf libjpeg62-turbo-dev libopenjp2-7-dev libpng-dev \
    libgtest-dev dcmtk dicom3tools libgdcm-tools python3-pydicom python3-numpy python3-pil doxygen

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

cmake --preset release "${launcher[@]}"
cmake --build --preset release -j2
ctest --preset release --output-on-failure -j2
