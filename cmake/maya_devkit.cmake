# The Maya API from a real devkit (-DMAYA_DEVKIT=<path>), as the target
# maya_api: headers from <devkit>/include, the Foundation, OpenMaya and
# OpenMayaAnim libraries from <devkit>/lib. The plug-in sources are the same
# ones that build against mayasim.
if(NOT EXISTS ${MAYA_DEVKIT}/include/maya/MFnPlugin.h)
  message(FATAL_ERROR "MAYA_DEVKIT=${MAYA_DEVKIT} has no include/maya/MFnPlugin.h")
endif()
add_library(maya_api INTERFACE)
target_include_directories(maya_api SYSTEM INTERFACE ${MAYA_DEVKIT}/include)
foreach(library Foundation OpenMaya OpenMayaAnim)
  find_library(MAYA_${library}_LIBRARY ${library} PATHS ${MAYA_DEVKIT}/lib NO_DEFAULT_PATH REQUIRED)
  target_link_libraries(maya_api INTERFACE ${MAYA_${library}_LIBRARY})
endforeach()
if(WIN32)
  target_compile_definitions(maya_api INTERFACE NT_PLUGIN _BOOL REQUIRE_IOSTREAM)
else()
  target_compile_definitions(maya_api INTERFACE LINUX _BOOL REQUIRE_IOSTREAM)
endif()
