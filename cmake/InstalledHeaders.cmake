# Runs at install time, once the headers are installed:
# - every '#include "a/b.h"' in an installed header that names another installed header becomes
#   '#include <vlq/a/b.h>', so that a host needs only the prefix's include directory; other
#   includes stay as they are;
# - toolkit/InstalledBundles.h is written with the bundles directory of this installation.
# Running it again changes nothing.
#
# Expects VLQ_INSTALLED_HEADERS (the installed include/vlq folder) and VLQ_INSTALLED_BUNDLES
# (the installed bundles folder), both relative to the prefix, and VLQ_INSTALLED_BUNDLES_TEMPLATE.

set(root "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${VLQ_INSTALLED_HEADERS}")
file(GLOB_RECURSE headers "${root}/*.h")
foreach(header IN LISTS headers)
  file(READ "${header}" text)
  string(REGEX MATCHALL "#include \"[^\"\n]+/[^\"\n]+\"" includes "${text}")
  if(NOT includes)
    continue()
  endif()
  list(REMOVE_DUPLICATES includes)
  set(original "${text}")
  foreach(include IN LISTS includes)
    string(REGEX REPLACE "^#include \"(.*)\"$" "\\1" path "${include}")
    if(EXISTS "${root}/${path}")
      string(REPLACE "${include}" "#include <vlq/${path}>" text "${text}")
    endif()
  endforeach()
  if(NOT text STREQUAL original)
    file(WRITE "${header}" "${text}")
  endif()
endforeach()

# The path that programs will see: the prefix without the staging directory.
set(VLQ_INSTALLED_BUNDLES_DIR "${CMAKE_INSTALL_PREFIX}/${VLQ_INSTALLED_BUNDLES}")
configure_file("${VLQ_INSTALLED_BUNDLES_TEMPLATE}" "${root}/toolkit/InstalledBundles.h" @ONLY)
