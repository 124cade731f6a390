"""Recipe for Conan 2: `conan create packaging/conan` from the folder of the sources."""

import os

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class Tarnm(ConanFile):
    name = "tarnm"
    version = "7.0.205"
    description = "Numerics for many small vectors and matrices at once"
    license = "Apache-2.0"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": True, "fPIC": True}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, os.pardir, os.pardir)
        for pattern in ("CMakeLists.txt", "LICENSE", "README.md", "CHANGELOG.md", "cmake/*", "docs/*", "include/*", "src/*"):
            copy(self, pattern, src=root, dst=self.export_sources_folder)

    def configure(self):
        if self.options.shared:
            self.options.rm_safe("fPIC")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.variables["TARNM_BUILD_STATIC"] = False
        toolchain.variables["TARNM_BUILD_TESTS"] = False
        toolchain.variables["TARNM_BUILD_EXAMPLES"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The package's own CMake files know everything, also what a static build needs.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs.append(os.path.join("lib", "cmake", "tarnm"))
