# SPDX-License-Identifier: MIT
"""Checks the vcpkg ports and the Conan recipes as far as that goes without vcpkg and Conan.

usage: recipes.py ROOT WORK [--no-sources]

What stands in vcpkg.json is held to its schema where we use it. The portfiles and the recipes are run
with stand-ins for the functions of vcpkg and Conan: yajl's release is unpacked, patched and built,
gatecast is built with it and installed. --no-sources leaves out what needs yajl's release.
"""
import glob
import hashlib
import json
import os
import py_compile
import re
import shutil
import subprocess
import sys
import tarfile
import types

ROOT, WORK = (os.path.abspath(path) for path in sys.argv[1:3])
PACKAGING = os.path.join(ROOT, "packaging")


def fail(text):
    sys.exit("check-recipes: " + text)


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        fail(" ".join(command) + "\n" + done.stdout)
    return done.stdout


def project_version():
    with open(os.path.join(ROOT, "gatecast", "version.h")) as header:
        return ".".join(re.findall(r"VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header.read()))


# ----- vcpkg -------------------------------------------------------------------------------------

KEYS = {"name", "version", "port-version", "description", "homepage", "license", "supports", "dependencies"}
NAME = re.compile(r"[a-z0-9]+(-[a-z0-9]+)*$")


def check_manifest(port):
    path = os.path.join(PACKAGING, "vcpkg", port, "vcpkg.json")
    with open(path) as file:
        manifest = json.load(file)
    unknown = set(manifest) - KEYS
    if unknown or not {"name", "version", "description", "license"} <= set(manifest):
        fail(f"{path}: unknown or missing keys {unknown}")
    if manifest["name"] != port or not NAME.match(port):
        fail(f"{path}: the name isn't that of its directory")
    if not re.match(r"\d+\.\d+\.\d+$", manifest["version"]):
        fail(f"{path}: the version isn't three numbers")
    if not isinstance(manifest.get("port-version", 0), int):
        fail(f"{path}: the port's version isn't a number")
    names = []
    for dependency in manifest["dependencies"]:
        if isinstance(dependency, dict):
            if set(dependency) - {"name", "host"}:
                fail(f"{path}: unknown keys in {dependency}")
            dependency = dependency["name"]
        if not NAME.match(dependency):
            fail(f"{path}: {dependency!r} is no name")
        names.append(dependency)
    if names != sorted(names):
        fail(f"{path}: the dependencies aren't sorted, as vcpkg's own formatter has them")
    return manifest, names


def run_port(port, prefix, dependency=""):
    run("cmake", f"-DPORT={PACKAGING}/vcpkg/{port}", f"-DDOWNLOADS={WORK}", f"-DWORK={WORK}/vcpkg-{port}",
        f"-DPREFIX={prefix}", f"-DDEPENDENCY={dependency}", "-P", f"{PACKAGING}/check/vcpkg.cmake")


# ----- Conan, as far as our recipes use it ---------------------------------------------------------


def copy(recipe, pattern, src, dst):
    found = glob.glob(os.path.join(src, "**", pattern), recursive=True)
    found = [path for path in found if os.path.isfile(path)]
    if not found:
        fail(f"{recipe.name}: nothing to copy for {pattern} in {src}")
    for path in found:
        target = os.path.join(dst, os.path.relpath(path, src))
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy(path, target)


def get(recipe, url, sha256, destination, strip_root):
    archive = os.path.join(WORK, os.path.basename(url))
    with open(archive, "rb") as file:
        if hashlib.sha256(file.read()).hexdigest() != sha256:
            fail(f"{recipe.name}: {archive} isn't what the recipe asks for")
    place = os.path.join(recipe.source_folder, destination)
    with tarfile.open(archive) as tar:
        root = tar.getnames()[0].split("/")[0]
        tar.extractall(place + ".unpacked")
    assert strip_root
    os.rename(os.path.join(place + ".unpacked", root), place)


def patch(recipe, base_path, patch_file):
    run("patch", "-p1", "--fuzz=0", "-d", os.path.join(recipe.source_folder, base_path), "-i",
        os.path.join(recipe.export_sources_folder, patch_file))


def load(_recipe, path):
    with open(path) as file:
        return file.read()


class CMakeToolchain:
    def __init__(self, recipe):
        self.recipe = recipe
        self.cache_variables = {}

    def generate(self):
        self.recipe.cache_variables = self.cache_variables


class CMakeDeps:
    def __init__(self, recipe):
        pass

    def generate(self):
        pass


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe
        self.build_folder = os.path.join(recipe.source_folder, "out")

    def configure(self, build_script_folder=""):
        recipe = self.recipe
        shared = "ON" if recipe.default_options["shared"] else "OFF"
        variables = {
            "CMAKE_BUILD_TYPE": "RelWithDebInfo",
            "CMAKE_CXX_EXTENSIONS": "OFF",
            "BUILD_SHARED_LIBS": shared,
            "CMAKE_INSTALL_LIBDIR": "lib",
            "CMAKE_INSTALL_PREFIX": recipe.package_folder,
            **recipe.cache_variables,
        }
        run("cmake", "-G", "Ninja", "-S", os.path.join(recipe.source_folder, build_script_folder), "-B",
            self.build_folder, *(f"-D{key}={value}" for key, value in variables.items()))

    def build(self):
        run("cmake", "--build", self.build_folder)

    def install(self):
        run("cmake", "--install", self.build_folder)


class Info:
    def __init__(self):
        self.libs = []
        self.includedirs = ["include"]
        self.properties = {}

    def set_property(self, name, value):
        self.properties[name] = value


class ConanFile:
    version = None

    def __init__(self):
        self.cpp_info = Info()
        self.required = []
        self.cache_variables = {}
        self.dependencies = {}

    def requires(self, reference, **_traits):
        if not re.match(r"[a-z0-9_]+/[\w.]+(@[a-z]+/[a-z]+)?$", reference):
            fail(f"{self.name}: {reference} is no reference")
        self.required.append(reference)


def stand_in():
    modules = {
        "conan": {"ConanFile": ConanFile},
        "conan.tools": {},
        "conan.tools.build": {"check_min_cppstd": lambda recipe, standard: None},
        "conan.tools.cmake": {"CMake": CMake, "CMakeDeps": CMakeDeps, "CMakeToolchain": CMakeToolchain},
        "conan.tools.files": {"copy": copy, "get": get, "load": load, "patch": patch},
    }
    for name, content in modules.items():
        module = types.ModuleType(name)
        module.__dict__.update(content)
        sys.modules[name] = module


def load_recipe(name):
    path = os.path.join(PACKAGING, "conan", name, "conanfile.py")
    py_compile.compile(path, cfile=os.path.join(WORK, "compiled"), doraise=True)
    scope = {"__name__": "recipe_" + name}
    exec(compile(load(None, path), path, "exec"), scope)
    found = [one for one in scope.values() if isinstance(one, type) and issubclass(one, ConanFile)
             and one is not ConanFile]
    recipe = found[0]()
    recipe.recipe_folder = os.path.dirname(path)
    if recipe.version is None:
        recipe.set_version()
    if recipe.name != name:
        fail(f"{path}: the name isn't that of its directory")
    if hasattr(recipe, "requirements"):
        recipe.requirements()
    return recipe


def create(recipe, dependencies):
    place = os.path.join(WORK, "conan-" + recipe.name)
    recipe.export_sources_folder = os.path.join(place, "exported")
    recipe.source_folder = os.path.join(place, "source")
    recipe.package_folder = os.path.join(place, "package")
    recipe.dependencies = dependencies
    os.makedirs(recipe.export_sources_folder)
    recipe.export_sources()
    shutil.copytree(recipe.export_sources_folder, recipe.source_folder)
    if hasattr(recipe, "source"):
        recipe.source()
    if hasattr(recipe, "validate"):
        recipe.validate()
    recipe.generate()
    recipe.build()
    recipe.package()
    recipe.package_info()
    for library in recipe.cpp_info.libs:
        if not glob.glob(os.path.join(recipe.package_folder, "lib", f"lib{library}.*")):
            fail(f"{recipe.name}: the package has no library {library}")
    for directory in recipe.cpp_info.includedirs:
        if not os.listdir(os.path.join(recipe.package_folder, directory)):
            fail(f"{recipe.name}: the package has no {directory}")
    if not os.listdir(os.path.join(recipe.package_folder, "licenses")):
        fail(f"{recipe.name}: the package has no licence")


# ----- all of it -----------------------------------------------------------------------------------

LEAK = r"""
#include <yajl/yajl_tree.h>
int main(void) {
    char text[100];
    return yajl_tree_parse("{\"a\":[1,[2", text, sizeof text) != 0;
}
"""


def leaks(prefix):
    """Whether the tree of a text that ends early is lost, which is the third of the faults."""
    source, program = os.path.join(WORK, "leak.c"), os.path.join(WORK, "leak")
    with open(source, "w") as file:
        file.write(LEAK)
    run("gcc", "-fsanitize=address", "-I", f"{prefix}/include", source, f"{prefix}/lib/libyajl.a", "-o", program)
    done = subprocess.run([program], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode not in (0, 1, 23) or (done.returncode and "LeakSanitizer" not in done.stderr):
        fail(f"the program for the leak fails: {done.stderr}")
    return done.returncode != 0


def main():
    manifest, names = check_manifest("gatecast")
    if manifest["version"] != project_version() or "yajl" not in names:
        fail("the port of gatecast isn't of this version, or lacks yajl")
    check_manifest("yajl")
    stand_in()
    yajl, gatecast = load_recipe("yajl"), load_recipe("gatecast")
    if gatecast.version != project_version() or "yajl/2.1.0@gatecast/patched" not in gatecast.required:
        fail("the recipe of gatecast isn't of this version, or doesn't ask for the patched yajl")
    print("recipes: manifests and recipes can be read, and agree with the version")
    if "--no-sources" in sys.argv:
        return

    yajl_prefix, gatecast_prefix = os.path.join(WORK, "vcpkg/yajl"), os.path.join(WORK, "vcpkg/gatecast")
    run_port("yajl", yajl_prefix)
    if leaks(yajl_prefix):
        fail("the patched yajl still loses the tree of a text that ends early")
    print("recipes: yajl's fixes apply to its release, and the patched one builds")
    run_port("gatecast", gatecast_prefix, yajl_prefix)
    consumer = os.path.join(WORK, "consumer")
    run("cmake", "-G", "Ninja", "-S", os.path.join(ROOT, "tests/consumers/find_package"), "-B", consumer,
        "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_PREFIX_PATH={gatecast_prefix};{yajl_prefix}")
    if f"GatecastYajl_LIBRARY:FILEPATH={yajl_prefix}/lib/libyajl.a" not in load(None, consumer + "/CMakeCache.txt"):
        fail("a consumer of the static library doesn't find the yajl of its prefix")
    run("cmake", "--build", consumer)
    run("ctest", "--test-dir", consumer, "--output-on-failure", "--no-tests=error")
    print("recipes: the ports, run with stand-ins, serve a consumer")

    create(yajl, {})
    create(gatecast, {"yajl": yajl})
    print("recipes: the Conan recipes, run with stand-ins, make packages")


main()
