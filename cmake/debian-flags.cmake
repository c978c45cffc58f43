# Compiles and links with the flags of Debian's own packages and all hardening. The package presets
# include this file before a language is enabled.
set(ENV{DEB_BUILD_MAINT_OPTIONS} hardening=+all)
if(CMAKE_CROSSCOMPILING)
    set(ENV{DEB_HOST_ARCH} ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})
endif()
foreach(kind CPPFLAGS CFLAGS CXXFLAGS LDFLAGS)
    execute_process(COMMAND dpkg-buildflags --get ${kind} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(${kind} UNIX_COMMAND ${flags})
endforeach()
add_compile_options(${CPPFLAGS} "$<$<COMPILE_LANGUAGE:C>:${CFLAGS}>" "$<$<COMPILE_LANGUAGE:CXX>:${CXXFLAGS}>")
add_link_options(${LDFLAGS})
