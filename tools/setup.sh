#!/usr/bin/env bash
# Installs everything the builds, tests, peers and benchmarks need (Debian, run as root).
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq \
    cmake make g++ clang-14 libclang-rt-14-dev \
    libgtest-dev libgmock-dev googletest libbenchmark-dev \
    zlib1g-dev libdeflate-dev pkg-config libpng-dev libeigen3-dev nlohmann-json3-dev libopenjp2-7-dev libjpeg62-turbo-dev \
    libtiff-dev libtiff-tools gdal-bin geotiff-bin proj-bin proj-data libproj-dev sqlite3 \
    libgeotiff-dev libcli11-dev libboost-dev \
    g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 xvfb x11-utils imagemagick \
    python3 time
