# Installs the build into a folder of its own and uses what lies there: through find_package, through pkg-config, and
# the command with its plugin. cmake -DBUILD_DIR=... -DCONSUMER_DIR=... -P run.cmake
set(prefix ${BUILD_DIR}/install-test/prefix)
set(consumer ${BUILD_DIR}/install-test/consumer)
file(REMOVE_RECURSE ${BUILD_DIR}/install-test)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${consumer} -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${consumer})
run(${consumer}/consumer_static)
run(${consumer}/consumer_shared)

find_program(pkg_config pkg-config)
if(pkg_config)
    file(GLOB_RECURSE pc_file ${prefix}/*/limbrex.pc)
    cmake_path(GET pc_file PARENT_PATH pc_dir)
    set(ENV{PKG_CONFIG_PATH} ${pc_dir})
    execute_process(COMMAND ${pkg_config} --cflags --libs limbrex OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags)
    run(${C_COMPILER} -std=c11 ${CONSUMER_DIR}/consumer.c -o ${consumer}/consumer_pc ${flags} -lm)
    execute_process(COMMAND ${pkg_config} --variable=libdir limbrex OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
    set(ENV{LD_LIBRARY_PATH} ${libdir})
    run(${consumer}/consumer_pc)
endif()

if(EXISTS ${prefix}/bin/limbrex)
    run(${prefix}/bin/limbrex --help OUTPUT_QUIET)
endif()
