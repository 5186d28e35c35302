"""Conan 2 recipe; `conan create packaging/conan` builds the source tree that contains it."""

import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load
from conan.tools.gnu import PkgConfigDeps


class KeUtilsConan(ConanFile):
    name = "ke_utils"
    description = "Utility library with a C interface: JSON documents, containers, text, files"
    license = "MIT"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"with_tool": [True, False]}
    default_options = {"with_tool": False}

    def _root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        text = load(self, os.path.join(self._root(), "CMakeLists.txt"))
        self.version = re.search(r"^project\(ke_utils VERSION ([0-9.]+)", text, re.MULTILINE).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "include/*", "src/*", "tools/*", "tests/abi/symbols.txt"):
            copy(self, pattern, self._root(), self.export_sources_folder)

    def validate(self):
        if self.settings.os != "Linux" or self.settings.arch != "x86_64":
            raise ConanInvalidConfiguration("the recipe is for 64-bit Linux; for Windows there is the ZIP package")

    def requirements(self):
        self.requires("libuv/[>=1.44]")
        if self.options.with_tool:
            self.requires("cli11/[>=2.1]")

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.25]")
        self.tool_requires("pkgconf/[>=2.0]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        PkgConfigDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.variables["KE_BUILD_TESTS"] = False
        toolchain.variables["KE_BUILD_EXAMPLES"] = False
        toolchain.variables["KE_BUILD_TOOLS"] = bool(self.options.with_tool)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.libs = ["ke_utils"]
        self.cpp_info.set_property("cmake_file_name", "ke_utils")
        self.cpp_info.set_property("cmake_target_name", "ke_utils::ke_utils")
        self.cpp_info.set_property("pkg_config_name", "ke_utils")
