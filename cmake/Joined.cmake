# With ZPAPACHE_JOINED the sources of a target are compiled joined, up to a hundred at a time (scripts/joining.py), each
# header once for all of them: a whole build takes less than a third of the time, one after a small change longer. Without
# it each source is compiled alone, as lint reads it.
option(ZPAPACHE_JOINED "Compile several sources at a time, where there is Python" ON)
find_package(Python3 COMPONENTS Interpreter QUIET)

function(zp_join target)
  if(NOT ZPAPACHE_JOINED OR NOT Python3_FOUND)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  execute_process(COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/joining.py ${sources} WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
                  OUTPUT_VARIABLE numbered COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" numbered "${numbered}")
  while(numbered)
    list(POP_FRONT numbered source number)
    if(source)
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP group${number})
    endif()
  endwhile()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
