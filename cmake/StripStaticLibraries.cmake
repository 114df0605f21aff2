# Run by CPack once a package's files are in its staging folder, before the package is made: the
# static libraries lose their debugging sections, most of their size, as the programs and shared
# libraries do through CPACK_STRIP_FILES (which leaves archives alone). Their symbols stay, so
# they link as before.
file(GLOB_RECURSE archives "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.a")
foreach(archive IN LISTS archives)
  execute_process(COMMAND "${CPACK_VLQ_STRIP}" --strip-debug "${archive}" RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "could not strip ${archive}")
  endif()
endforeach()
