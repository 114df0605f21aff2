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

set(CPACK_PACKAGE_NAME vlq-survey-plugin)
set(CPACK_PACKAGE_VENDOR "Velqo")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "VLQSurveyPlugin developers" CACHE STRING
    "The Maintainer field of the Debian packages")
set(CPACK_COMPONENTS_ALL runtime development)
# Programs, shared and static libraries lose their debugging sections.
set(CPACK_STRIP_FILES ON)
set(CPACK_VLQ_STRIP "${CMAKE_STRIP}")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/StripStaticLibraries.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME vlq-survey-plugin)
# The first line of a description is the package's synopsis.
string(CONCAT CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "In-app survey plug-in for the Velqo engagement SDK\n"
  "The plug-in's images, the sample application's images, the simulator\n"
  "vlq-survey-sim, the response collector vlq-survey-collector and the\n"
  "configuration linter vlq-survey-lint.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The Qt backend draws its text with Liberation fonts.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "fonts-liberation2")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME vlq-survey-plugin-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
string(CONCAT CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "In-app survey plug-in for the Velqo engagement SDK: development files\n"
  "The headers under <vlq/...>, the libraries, the QML module VLQ.Surveys,\n"
  "the CMake package (find_package(VLQSurveyPlugin 1.0 CONFIG REQUIRED)) and\n"
  "pkg-config files.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "nlohmann-json3-dev (>= 3.11), libcpp-httplib-dev, libsqlite3-dev, qt6-base-dev, qt6-declarative-dev, pkgconf | pkg-config")
set(runtime_package "vlq-survey-plugin (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
if(BUILD_SHARED_LIBS)
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", ${runtime_package}")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "fonts-liberation2")
else()
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "${runtime_package}, fonts-liberation2")
endif()

include(CPack)
