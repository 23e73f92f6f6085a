# Checks the symbols a plug-in module exports (cmake -P, run by CTest):
# exactly its entry points initializePlugin and uninitializePlugin (in any
# namespace the API's MObject lives in), MApiVersion and, where the devkit
# defines one, its signature symbol. Anything else would let two copies of
# the foundation meet inside Maya.
#   -DNM=<nm> -DMODULE=<the module>
execute_process(COMMAND ${NM} -D -C --defined-only ${MODULE}
                OUTPUT_VARIABLE listing ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${MODULE}: ${errors}")
endif()
string(REPLACE "\n" ";" lines "${listing}")
set(found_init FALSE)
set(found_uninit FALSE)
set(found_version FALSE)
set(unexpected "")
foreach(line ${lines})
  string(REGEX REPLACE "^[0-9a-fA-F]* *[A-Za-z] +" "" name "${line}")
  if(name STREQUAL "")
    continue()
  endif()
  if(name MATCHES "^initializePlugin(\\(.*MObject\\))?$")
    set(found_init TRUE)
  elseif(name MATCHES "^uninitializePlugin(\\(.*MObject\\))?$")
    set(found_uninit TRUE)
  elseif(name STREQUAL "MApiVersion")
    set(found_version TRUE)
  elseif(name MATCHES "^ADSK_PLUGIN_SIGNATURE")
  else()
    list(APPEND unexpected "${name}")
  endif()
endforeach()
if(unexpected)
  string(REPLACE ";" "\n  " text "${unexpected}")
  message(FATAL_ERROR "${MODULE} exports more than its entry points:\n  ${text}")
endif()
if(NOT found_init OR NOT found_uninit OR NOT found_version)
  message(FATAL_ERROR "${MODULE} lacks an entry point (initializePlugin ${found_init}, "
                      "uninitializePlugin ${found_uninit}, MApiVersion ${found_version}):\n${listing}")
endif()
message(STATUS "${MODULE} exports only its entry points:\n${listing}")
