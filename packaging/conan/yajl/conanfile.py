# SPDX-License-Identifier: MIT
"""The released yajl and the fixes that came after it; no release has them.

conan create packaging/conan/yajl --user gatecast --channel patched
"""
import os

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeToolchain
from conan.tools.files import copy, get, patch

FIXES = ("CVE-2017-16516.patch", "CVE-2022-24795.patch", "CVE-2023-33460.patch")


class Yajl(ConanFile):
    name = "yajl"
    version = "2.1.0"
    license = "ISC"
    description = "Event-driven JSON parser and generator, with the fixes that Debian carries"
    homepage = "https://lloyd.github.io/yajl/"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": False, "fPIC": True}
    implements = ["auto_shared_fpic"]
    languages = "C"

    def export_sources(self):
        parts = os.path.join(self.recipe_folder, "..", "..", "yajl")
        for name in FIXES + ("CMakeLists.txt",):
            copy(self, name, parts, self.export_sources_folder)

    def source(self):
        # Unpacked beside the exported CMakeLists.txt, which then takes the place of yajl's own.
        get(
            self,
            "https://deb.debian.org/debian/pool/main/y/yajl/yajl_2.1.0.orig.tar.gz",
            sha256="3fb73364a5a30efe615046d07e6db9d09fd2b41c763c5f7d3bfb121cd5c5ac5a",
            destination="released",
            strip_root=True,
        )
        for fix in FIXES:
            patch(self, base_path="released", patch_file=os.path.join(self.export_sources_folder, fix))
        copy(self, "CMakeLists.txt", self.export_sources_folder, os.path.join(self.source_folder, "released"))

    def generate(self):
        CMakeToolchain(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure(build_script_folder="released")
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(
            self,
            "COPYING",
            os.path.join(self.source_folder, "released"),
            os.path.join(self.package_folder, "licenses"),
        )

    def package_info(self):
        self.cpp_info.libs = ["yajl"]
        self.cpp_info.set_property("pkg_config_name", "yajl")
