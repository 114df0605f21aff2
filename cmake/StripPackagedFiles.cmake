# Run by CPack once a package's files are in its staging folder, before the package is made, to
# strip as Debian's own packages are stripped. Programs and shared libraries have already lost
# their symbols and debugging sections (CPACK_STRIP_FILES); here they also lose the compiler's
# identification (.comment, .note). Static libraries, which CPACK_STRIP_FILES leaves alone, lose
# their debugging sections, most of their size, and the same identification; their symbols stay,
# so they link as before.
file(GLOB_RECURSE staged LIST_DIRECTORIES false "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
foreach(file IN LISTS staged)
  if(IS_SYMLINK "${file}")
    continue()
  endif()
  file(READ "${file}" magic LIMIT 8 HEX)
  if(magic STREQUAL "213c617263683e0a")  # "!<arch>\n": a static library
    set(options --strip-debug --enable-deterministic-archives)
  elseif(magic MATCHES "^7f454c46")  # an ELF program or shared library
    set(options)
  else()
    continue()
  endif()
  execute_process(
    COMMAND "${CPACK_VLQ_STRIP}" ${options} --remove-section=.comment --remove-section=.note
            "${file}"
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "could not strip ${file}")
  endif()
endforeach()
