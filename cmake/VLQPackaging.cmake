# Debian packages of the installed SDK (cpack -G DEB in the build tree):
#   vlq-survey-plugin      the runtime component: the tools, the resource bundles and, when the
#                          libraries are shared, the libraries; its dependencies come from
#                          dpkg-shlibdeps
#   vlq-survey-plugin-dev  the development component: headers, libraries, the QML module, the
#                          CMake package and the pkg-config files, depending on the Debian
#                          development packages that find_package and the link need. With static
#                          libraries it only recommends the runtime package, so that installing
#                          the -dev package on its own is enough to build; shared libraries live
#                          in the runtime package, which the -dev package then depends on.
#
# Both carry the copyright file and the Debian changelog of packaging/deb/ in
# /usr/share/doc/<package>/, and any lintian overrides written there as <package>.lintian-overrides.
# Every manual page in docs/man/ (NAME.SECTION) is installed, compressed, with the tools.
# A program or library installed through VLQInstall.cmake lands in one of the two packages and
# needs nothing here; a new tool needs its manual page.

set(VLQ_DEBIAN_DIR ${PROJECT_SOURCE_DIR}/packaging/deb)

# The latest changelog entry gives the packages their version: its upstream part must be the
# project's, and its Debian revision becomes the packages' release.
file(STRINGS ${VLQ_DEBIAN_DIR}/changelog changelog_head LIMIT_COUNT 1)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${VLQ_DEBIAN_DIR}/changelog)
if(NOT changelog_head MATCHES "^vlq-survey-plugin \\(([^)-]+)-([^)]+)\\) ")
  message(FATAL_ERROR "packaging/deb/changelog does not start with an entry of vlq-survey-plugin")
endif()
if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "packaging/deb/changelog's latest entry is for ${CMAKE_MATCH_1}, the project "
                      "is ${PROJECT_VERSION}: add an entry")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})

set(CPACK_PACKAGE_NAME vlq-survey-plugin)
set(CPACK_PACKAGE_VENDOR "Velqo")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(VLQ_PACKAGE_MAINTAINER "VLQSurveyPlugin developers <vlq-survey-plugin@velqo.com>" CACHE STRING
    "The Maintainer field of the Debian packages: a name and an e-mail address")
set(CPACK_PACKAGE_CONTACT "${VLQ_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VLQ_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SOURCE vlq-survey-plugin)
set(CPACK_COMPONENTS_ALL runtime development)
# Programs, shared and static libraries lose their debugging sections, and all of them the
# compiler's identification (.comment), as Debian's own packages do.
set(CPACK_STRIP_FILES ON)
set(CPACK_VLQ_STRIP "${CMAKE_STRIP}")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/StripPackagedFiles.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME vlq-survey-plugin)
# The first line of a description is the package's synopsis.
string(CONCAT CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "In-app survey plug-in for the Velqo engagement SDK\n"
  "The plug-in's images, the sample application's images, the simulator\n"
  "vlq-survey-sim, the response collector vlq-survey-collector and the\n"
  "configuration linter vlq-survey-lint.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The Qt backend draws its text with Liberation fonts, and the plug-in's own texts in Arabic and
# Hebrew (Noto) and in Japanese and Chinese (Noto CJK).
set(vlq_font_packages "fonts-liberation2, fonts-noto-core, fonts-noto-cjk")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${vlq_font_packages}")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME vlq-survey-plugin-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
string(CONCAT CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "In-app survey plug-in for the Velqo engagement SDK: development files\n"
  "The headers under <vlq/...>, the libraries, the QML module VLQ.Surveys,\n"
  "the CMake package (find_package(VLQSurveyPlugin 1.0 CONFIG REQUIRED)) and\n"
  "pkg-config files.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "nlohmann-json3-dev (>= 3.11), libcpp-httplib-dev, libsqlite3-dev, libpq-dev, libssl-dev, qt6-base-dev, qt6-declarative-dev, pkgconf | pkg-config")
# The QML module's plugin is a shared object: what it links comes from dpkg-shlibdeps.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS ON)
set(runtime_package "vlq-survey-plugin (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
if(BUILD_SHARED_LIBS)
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", ${runtime_package}")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "${vlq_font_packages}")
else()
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "${runtime_package}, ${vlq_font_packages}")
endif()

# Compressed as Debian wants them: the highest level, and no name or time stamp in the header, so
# that the same text makes the same file.
function(vlq_gzip source output)
  add_custom_command(OUTPUT ${output}
    COMMAND gzip -9nc ${source} > ${output}
    DEPENDS ${source} VERBATIM)
endfunction()

set(compressed_dir ${PROJECT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${compressed_dir})
vlq_gzip(${VLQ_DEBIAN_DIR}/changelog ${compressed_dir}/changelog.Debian.gz)
set(compressed_files ${compressed_dir}/changelog.Debian.gz)

file(GLOB manual_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[1-9])
foreach(page IN LISTS manual_pages)
  get_filename_component(name ${page} NAME)
  string(REGEX REPLACE ".*\\." "" section ${name})
  vlq_gzip(${page} ${compressed_dir}/${name}.gz)
  list(APPEND compressed_files ${compressed_dir}/${name}.gz)
  install(FILES ${compressed_dir}/${name}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
          COMPONENT runtime)
endforeach()
add_custom_target(vlq_compressed_docs ALL DEPENDS ${compressed_files})

# The Debian documents go into the packages only (EXCLUDE_FROM_ALL keeps them out of a plain
# cmake --install, and in each component's own install, which is what CPack runs).
file(GLOB lintian_overrides CONFIGURE_DEPENDS ${VLQ_DEBIAN_DIR}/*.lintian-overrides)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} component_upper)
  set(package ${CPACK_DEBIAN_${component_upper}_PACKAGE_NAME})
  install(FILES ${VLQ_DEBIAN_DIR}/copyright ${compressed_dir}/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
  if(${VLQ_DEBIAN_DIR}/${package}.lintian-overrides IN_LIST lintian_overrides)
    install(FILES ${VLQ_DEBIAN_DIR}/${package}.lintian-overrides
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${package}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endforeach()

include(CPack)
