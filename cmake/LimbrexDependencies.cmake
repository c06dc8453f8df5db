# Packages of the simulated host and the command; scripts/setup.sh installs them. Imported targets count as system
# headers, so our warnings stay ours. pkg-config where the package's own CMake files ask for more than is installed.
find_package(PkgConfig REQUIRED)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
pkg_check_modules(lua REQUIRED IMPORTED_TARGET lua5.4)
pkg_check_modules(bullet REQUIRED IMPORTED_TARGET bullet)
pkg_check_modules(assimp REQUIRED IMPORTED_TARGET assimp)
pkg_check_modules(cairo REQUIRED IMPORTED_TARGET cairo)
pkg_check_modules(tinygltf REQUIRED IMPORTED_TARGET tinygltf)

# What the host's own headers and sources use; everything built on the host gets it.
add_library(limbrex_host_packages INTERFACE)
target_link_libraries(limbrex_host_packages INTERFACE fmt::fmt nlohmann_json::nlohmann_json
    PkgConfig::lua PkgConfig::bullet PkgConfig::assimp ${CMAKE_DL_LIBS})
