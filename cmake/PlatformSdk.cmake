# The platform's libraries out of a unit's SDK, under the names that the stand-ins have here.
foreach(name tolvtrace bsp_base bsp_qor ddevio ddevioc)
    find_library(BSP_PLATFORM_${name} ${name}
        PATHS ${BSP_PLATFORM_SDK}/lib ${BSP_PLATFORM_SDK}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    add_library(platform::${name} SHARED IMPORTED GLOBAL)
    set_target_properties(platform::${name} PROPERTIES
        IMPORTED_LOCATION ${BSP_PLATFORM_${name}}
        INTERFACE_INCLUDE_DIRECTORIES ${BSP_PLATFORM_SDK}/include)
endforeach()
