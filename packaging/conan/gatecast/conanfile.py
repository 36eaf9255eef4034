# SPDX-License-Identifier: MIT
"""gatecast from the source tree that this file lies in, with the yajl of ../yajl.

conan create packaging/conan/gatecast
"""
import os
import re

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain
from conan.tools.files import copy, load

PARTS = ("core", "json", "schema", "rpc", "device", "gatecast", "cmake", "debug")


class Gatecast(ConanFile):
    name = "gatecast"
    license = "MIT"
    description = "Talks to networked door stations: JSON values, remote calls, a device client"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": True, "fPIC": True, "boost/*:header_only": True}
    implements = ["auto_shared_fpic"]

    def root(self):
        return os.path.abspath(os.path.join(self.recipe_folder, "..", "..", ".."))

    def set_version(self):
        text = load(self, os.path.join(self.root(), "gatecast", "version.h"))
        self.version = ".".join(re.findall(r"#define GATECAST_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", text))

    def export_sources(self):
        for name in ("CMakeLists.txt", "LICENSE"):
            copy(self, name, self.root(), self.export_sources_folder)
        for part in PARTS:
            copy(self, "*", os.path.join(self.root(), part), os.path.join(self.export_sources_folder, part))

    def requirements(self):
        self.requires("boost/1.81.0", transitive_headers=True)
        self.requires("yajl/2.1.0@gatecast/patched")

    def validate(self):
        check_min_cppstd(self, 17)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["GATECAST_BUILD_TESTS"] = False
        toolchain.cache_variables["GATECAST_BUILD_EXAMPLES"] = False
        toolchain.cache_variables["GATECAST_INSTALL"] = True
        toolchain.cache_variables["GatecastYajl_ROOT"] = self.dependencies["yajl"].package_folder
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))

    def package_info(self):
        self.cpp_info.libs = ["gatecast"]
        self.cpp_info.includedirs = [os.path.join("include", "gatecast")]
        self.cpp_info.set_property("cmake_file_name", "gatecast")
        self.cpp_info.set_property("cmake_target_name", "gatecast::gatecast")
        self.cpp_info.set_property("pkg_config_name", "gatecast")
