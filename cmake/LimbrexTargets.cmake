# Library, plugin, host and command. A folder without sources yields no target, so a partial checkout still builds.

# Sources of the named folders, found again when files come or go.
function(limbrex_sources result)
    set(patterns "")
    foreach(folder IN LISTS ARGN)
        list(APPEND patterns ${PROJECT_SOURCE_DIR}/${folder}/*.cpp ${PROJECT_SOURCE_DIR}/${folder}/*.c)
    endforeach()
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${patterns})
    set(${result} ${sources} PARENT_SCOPE)
endfunction()

# Only the symbols named in cmake/<script> leave the shared library.
function(limbrex_export_only target script)
    target_link_options(${target} PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/${script})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/${script})
endfunction()

# Sources include from the root of the tree; whoever links the library does too.
function(limbrex_public_includes target scope)
    target_include_directories(${target} ${scope}
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# limbrex: static, position independent, everything hidden, for whatever links it in. limbrex_shared: liblimbrex.so, which
# shows the public operations and is compiled for itself, since visibility is decided by the compiler.
function(limbrex_add_library)
    limbrex_sources(sources limbrex)
    if(NOT sources)
        add_library(limbrex INTERFACE)
        limbrex_public_includes(limbrex INTERFACE)
        return()
    endif()
    add_library(limbrex STATIC ${sources})
    set(targets limbrex)
    if(LIMBREX_BUILD_SHARED)
        add_library(limbrex_shared SHARED ${sources})
        list(APPEND targets limbrex_shared)
        target_compile_definitions(limbrex_shared PRIVATE LIMBREX_SHARED)
        set_target_properties(limbrex_shared PROPERTIES
            OUTPUT_NAME limbrex VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
        limbrex_export_only(limbrex_shared limbrex.map)
    endif()
    foreach(target IN LISTS targets)
        target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:limbrex_kernel_flags>)
        limbrex_public_includes(${target} PUBLIC)
        set_target_properties(${target} PROPERTIES
            ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}
            LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
        add_library(limbrex::${target} ALIAS ${target})
    endforeach()
endfunction()

# The plugin shows an engine one symbol. It carries its own copy of the library. Its objects are an archive too, for tests of what lies
# behind the symbol.
function(limbrex_add_plugin)
    limbrex_sources(sources plugin resources contexts constraints debug)
    if(NOT sources)
        return()
    endif()
    add_library(limbrex_plugin_objects STATIC ${sources})
    target_link_libraries(limbrex_plugin_objects PRIVATE limbrex_kernel_flags PUBLIC limbrex)
    target_include_directories(limbrex_plugin_objects PUBLIC ${PROJECT_SOURCE_DIR})
    add_library(limbrex_plugin MODULE $<TARGET_OBJECTS:limbrex_plugin_objects>)
    set_target_properties(limbrex_plugin PROPERTIES LINKER_LANGUAGE CXX)
    target_link_libraries(limbrex_plugin PRIVATE limbrex_kernel_flags limbrex)
    target_link_options(limbrex_plugin PRIVATE $<$<NOT:$<BOOL:${LIMBREX_SANITIZE}>>:LINKER:--no-undefined>)
    set_target_properties(limbrex_plugin PROPERTIES
        PREFIX lib LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}/limbrex)
    limbrex_export_only(limbrex_plugin limbrex_plugin.map)
endfunction()

# Scenes, clips, scripts, rays: what an engine does around the plugin. It reaches the plugin through its exported symbol.
function(limbrex_add_host)
    limbrex_sources(sources host)
    if(NOT sources)
        return()
    endif()
    add_library(limbrex_host STATIC ${sources})
    target_include_directories(limbrex_host PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(limbrex_host PUBLIC limbrex limbrex_host_packages PRIVATE limbrex_flags)
endfunction()

# limbrex_tools holds everything of the command but main(), so tests can call it.
function(limbrex_add_command)
    # Build tree and installed tree have the same shape: bin/limbrex finds the plugin by this path from its own folder.
    file(RELATIVE_PATH plugin_from_command /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR}/limbrex/liblimbrex_plugin.so)
    limbrex_sources(sources tools)
    list(REMOVE_ITEM sources ${PROJECT_SOURCE_DIR}/tools/main.cpp)
    if(sources AND TARGET limbrex_host)
        add_library(limbrex_tools STATIC ${sources})
        target_link_libraries(limbrex_tools PUBLIC limbrex_host CLI11::CLI11 PkgConfig::cairo PkgConfig::tinygltf
            PRIVATE limbrex_flags)
        target_compile_definitions(limbrex_tools PUBLIC
            LIMBREX_PLUGIN_RELATIVE_PATH="${plugin_from_command}" LIMBREX_VERSION="${PROJECT_VERSION}")
    endif()
    if(TARGET limbrex_tools AND EXISTS ${PROJECT_SOURCE_DIR}/tools/main.cpp)
        add_executable(limbrex_command tools/main.cpp)
        target_link_libraries(limbrex_command PRIVATE limbrex_tools limbrex_flags)
        set_target_properties(limbrex_command PROPERTIES
            OUTPUT_NAME limbrex RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
        if(TARGET limbrex_plugin)
            add_dependencies(limbrex_command limbrex_plugin)
        endif()
    endif()
endfunction()
