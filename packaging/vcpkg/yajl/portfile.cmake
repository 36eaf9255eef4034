# SPDX-License-Identifier: MIT
# The released yajl and the fixes that came after it; no release has them.
set(parts ${CMAKE_CURRENT_LIST_DIR}/../../yajl)
vcpkg_download_distfile(archive
    URLS "https://deb.debian.org/debian/pool/main/y/yajl/yajl_2.1.0.orig.tar.gz"
    FILENAME yajl_2.1.0.orig.tar.gz
    SHA512 9e786d080803df80ec03a9c2f447501e6e8e433a6baf636824bc1d50ecf4f5f80d7dfb1d47958aeb0a30fe459bd0ef033d41bc6a79e1dc6e6b5eade930b19b02)
vcpkg_extract_source_archive(SOURCE_PATH
    ARCHIVE ${archive}
    PATCHES
        ${parts}/CVE-2017-16516.patch
        ${parts}/CVE-2022-24795.patch
        ${parts}/CVE-2023-33460.patch)
file(COPY ${parts}/CMakeLists.txt DESTINATION ${SOURCE_PATH})

vcpkg_cmake_configure(SOURCE_PATH ${SOURCE_PATH})
vcpkg_cmake_install()
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE ${CURRENT_PACKAGES_DIR}/debug/include)
vcpkg_install_copyright(FILE_LIST ${SOURCE_PATH}/COPYING)
