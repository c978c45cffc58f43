# Imports the platform's libraries from a unit's SDK, under the target names of the stand-ins.
foreach(header TolvTrace.hpp QorConfig.hpp HwVariant.hpp e2prom.h DDevIo.h DDevIo.hpp IMutex.hpp PthreadMutex.hpp)
    if(NOT EXISTS ${BSP_PLATFORM_SDK}/include/${header})
        message(FATAL_ERROR "BSP_PLATFORM_SDK: there is no ${header} in ${BSP_PLATFORM_SDK}/include")
    endif()
endforeach()
foreach(name tolvtrace bsp_base bsp_qor ddevio ddevioc)
    unset(library)
    find_library(library ${name}
        PATHS ${BSP_PLATFORM_SDK}/lib ${BSP_PLATFORM_SDK}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
        NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT library)
        message(FATAL_ERROR "BSP_PLATFORM_SDK: there is no lib${name} in ${BSP_PLATFORM_SDK}/lib")
    endif()
    add_library(platform::${name} SHARED IMPORTED GLOBAL)
    set_target_properties(platform::${name} PROPERTIES
        IMPORTED_LOCATION ${library}
        INTERFACE_INCLUDE_DIRECTORIES ${BSP_PLATFORM_SDK}/include)
endforeach()
