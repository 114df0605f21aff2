# Installing the SDK: each library with its public headers, the tools, the two resource bundles,
# the CMake package (namespace VLQ::) and the pkg-config files.
#
# The public headers are the files in include/, and only they are installed, as they are: a
# library lists its own with vlq_public_headers(TARGET vlq/... ...), and the configuration fails
# when a file in include/ is on no list. Everything in src/ and apps/ is private. A layer's
# CMakeLists.txt installs its library with one line, vlq_install_library(TARGET NAME), and a
# program with vlq_install_program(TARGET).
#
# Components: "runtime" (tools, bundles, shared libraries) and "development" (headers, static
# libraries, the CMake package, pkg-config files).
#
# Every library of the tree is static; the tree's programs and tests link those, private symbols
# and all. A static installation installs them as they are, one archive per layer. With
# BUILD_SHARED_LIBS, the installation holds six shared libraries instead, made from the same
# objects (built position-independent, with hidden visibility): vlq_plugin (the plug-in and every
# layer under it, down to the toolkit and the solver), and vlq_toolkit_qt, vlq_host_reference and
# vlq_collector, each of which links vlq_plugin and uses only what it exports, and the Qt
# overlays vlq_qt_widgets and vlq_qt_quick, which also link vlq_toolkit_qt. Each exports only
# what is marked with VLQ_API (the public headers' classes, and the overlays' shared core in the
# Qt backend), and each is linked with --no-undefined, so a shared library that reached for
# another's private symbol would not link. The installed tools are
# static programs in both kinds of installation.

# Where the toolchain is multiarch (Debian and its derivatives), libraries, the CMake package and
# the pkg-config files go to lib/<triplet>, whatever the prefix, as in Debian's own packages; the
# system's linker, pkg-config and find_package all search there. -DCMAKE_INSTALL_LIBDIR=...
# chooses otherwise. A tree that GNUInstallDirs configured before this default existed has its
# plain "lib" cached; that is moved once.
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(multiarch_libdir lib/${CMAKE_LIBRARY_ARCHITECTURE})
  if(NOT DEFINED CACHE{CMAKE_INSTALL_LIBDIR} OR
     (NOT DEFINED CACHE{VLQ_MULTIARCH_LIBDIR} AND
      DEFINED CACHE{_GNUInstallDirs_LAST_CMAKE_INSTALL_PREFIX} AND
      "$CACHE{CMAKE_INSTALL_LIBDIR}" STREQUAL "lib"))
    set(CMAKE_INSTALL_LIBDIR ${multiarch_libdir} CACHE PATH "Object code libraries" FORCE)
  endif()
  set(VLQ_MULTIARCH_LIBDIR ${multiarch_libdir} CACHE INTERNAL "The toolchain's multiarch libdir")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VLQ_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})
set(VLQ_PKGCONFIG_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# Installed bundles are folders named by bundle identifier; "main" holds the sample application's
# images, which the plug-in loads from the application's main bundle.
set(VLQ_BUNDLES_INSTALL_DIR ${CMAKE_INSTALL_DATADIR}/${PROJECT_NAME}/bundles)
# QML modules, where Qt looks for them on a Debian system when the prefix is /usr; with another
# prefix, QML_IMPORT_PATH names this folder of it. In the build tree they are gathered in
# qml/ of the build folder.
set(VLQ_QML_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/qt6/qml)
set(VLQ_QML_BUILD_DIR ${PROJECT_BINARY_DIR}/qml)
# How an installed program reaches the installed bundles (NSBundle.cpp).
file(RELATIVE_PATH VLQ_BUNDLES_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR}
     ${CMAKE_INSTALL_FULL_DATADIR}/${PROJECT_NAME}/bundles)

# vlq_public_headers(TARGET HEADER...): TARGET's public headers, each named by its path below
# include/ (vlq/toolkit/UIView.h), as an integrator includes it. Users of TARGET find them there,
# in the tree and in an installed prefix alike.
function(vlq_public_headers target)
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/include/ OUTPUT_VARIABLE files)
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/include
                 FILES ${files})
  set_property(GLOBAL APPEND PROPERTY VLQ_PUBLIC_HEADERS ${ARGN})
endfunction()

# vlq_install_library(TARGET EXPORT_NAME): installs TARGET, exported as VLQ::EXPORT_NAME, with its
# public headers.
function(vlq_install_library target export_name)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${export_name})
  if(BUILD_SHARED_LIBS)
    # The shared libraries made of the archives are installed instead, once the folder has said
    # what the library links.
    if(target IN_LIST VLQ_SHARED_LIBRARIES)
      # (The deferred call's argument is read when it runs, so it is written out now.)
      cmake_language(EVAL CODE "cmake_language(DEFER CALL vlq_shared_library ${target})")
    endif()
    return()
  endif()
  install(TARGETS ${target} EXPORT ${PROJECT_NAME}Targets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
            NAMELINK_COMPONENT development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# vlq_install_qml_module(PATH PLUGIN QMLDIR): installs a QML module (its plugin, a MODULE library,
# and its qmldir file) into PATH (VLQ/Surveys) of the QML folder, with the development files:
# an application that links the module's library needs it.
function(vlq_install_qml_module path plugin qmldir)
  install(TARGETS ${plugin} LIBRARY DESTINATION ${VLQ_QML_INSTALL_DIR}/${path}
          COMPONENT development)
  install(FILES ${qmldir} DESTINATION ${VLQ_QML_INSTALL_DIR}/${path} COMPONENT development)
endfunction()

# With BUILD_SHARED_LIBS, the installed libraries: each is made of the whole of one or more of
# the static libraries. vlq_plugin holds the plug-in and every layer under it; every other one
# links vlq_plugin for those layers. A library that is to be installed shared is named here.
set(VLQ_SHARED_CORE vlq_plugin vlq_ui vlq_session vlq_model vlq_host vlq_toolkit vlq_layout)
set(VLQ_SHARED_LIBRARIES vlq_plugin vlq_toolkit_qt vlq_qt_widgets vlq_qt_quick vlq_host_reference
    vlq_collector)

# vlq_shared_library(NAME): the shared library libNAME.so (target NAME_shared), made of the whole
# of NAME's static library (for vlq_plugin, of the whole core) and linked to what those link
# outside this package; installed and exported under NAME's export name. Called at the end of
# NAME's folder, where the packages it links were found.
function(vlq_shared_library name)
  set(parts ${name})
  set(uses vlq_plugin_shared)
  if(name STREQUAL "vlq_plugin")
    set(parts ${VLQ_SHARED_CORE})
    set(uses "")
  endif()
  # The archives by file, so that the layers they build on do not come along as archives: those
  # are in vlq_plugin. What the parts link outside the package comes along, publicly when their
  # headers need it.
  set(archives "")
  set(public_links "")
  set(private_links "")
  foreach(part IN LISTS parts)
    list(APPEND archives $<TARGET_FILE:${part}>)
    get_target_property(interface ${part} INTERFACE_LINK_LIBRARIES)
    get_target_property(all ${part} LINK_LIBRARIES)
    if(NOT all)
      continue()
    endif()
    foreach(link IN LISTS all)
      if(link MATCHES "^vlq_")
        # Another installed library of the package (the Qt overlays build on the Qt backend).
        if(NOT link IN_LIST parts AND NOT link STREQUAL "vlq_plugin" AND
           link IN_LIST VLQ_SHARED_LIBRARIES)
          list(APPEND uses ${link}_shared)
        endif()
        continue()
      elseif(link IN_LIST interface)
        list(APPEND public_links ${link})
      else()
        list(APPEND private_links ${link})
      endif()
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES public_links)
  list(REMOVE_DUPLICATES private_links)

  set(target ${name}_shared)
  add_library(${target} SHARED ${PROJECT_SOURCE_DIR}/cmake/SharedLibrary.cpp)
  add_dependencies(${target} ${parts})
  get_target_property(export_name ${name} EXPORT_NAME)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${name}
    EXPORT_NAME ${export_name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  target_link_libraries(${target}
    PRIVATE -Wl,--whole-archive ${archives} -Wl,--no-whole-archive ${private_links}
    PUBLIC ${uses} ${public_links})
  # A library that reached for a symbol another one does not export would not link.
  target_link_options(${target} PRIVATE LINKER:--no-undefined)
  target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
  install(TARGETS ${target} EXPORT ${PROJECT_NAME}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
            NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# vlq_install_program(TARGET): installs an executable as a tool of the runtime package.
function(vlq_install_program target)
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endfunction()

# vlq_install_pkg_config(NAME DESCRIPTION LIBS REQUIRES LINK_REQUIRES): one pkg-config file. Static
# libraries carry their dependencies into every link, so these go to Requires and Libs unless the
# libraries are shared.
function(vlq_install_pkg_config name description libs requires link_requires)
  set(PC_NAME ${name})
  set(PC_DESCRIPTION ${description})
  set(PC_LIBS "${libs}")
  set(PC_REQUIRES "${requires}")
  if(BUILD_SHARED_LIBS)
    set(PC_REQUIRES_PRIVATE "${link_requires}")
  else()
    string(STRIP "${PC_REQUIRES} ${link_requires}" PC_REQUIRES)
    set(PC_REQUIRES_PRIVATE "")
  endif()
  file(RELATIVE_PATH PC_PREFIX_FROM_PCFILEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
       ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" PC_PREFIX_FROM_PCFILEDIR "${PC_PREFIX_FROM_PCFILEDIR}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/vlq.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc
                 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc DESTINATION ${VLQ_PKGCONFIG_INSTALL_DIR}
          COMPONENT development)
endfunction()

# vlq_install_package(): what belongs to the whole SDK. Called once, after every library.
function(vlq_install_package)
  install(EXPORT ${PROJECT_NAME}Targets NAMESPACE VLQ:: DESTINATION ${VLQ_CMAKE_INSTALL_DIR}
          COMPONENT development)
  configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/${PROJECT_NAME}Config.cmake.in
    ${PROJECT_BINARY_DIR}/cmake/${PROJECT_NAME}Config.cmake
    INSTALL_DESTINATION ${VLQ_CMAKE_INSTALL_DIR}
    PATH_VARS VLQ_QML_INSTALL_DIR)
  write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/cmake/${PROJECT_NAME}ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/cmake/${PROJECT_NAME}Config.cmake
                ${PROJECT_BINARY_DIR}/cmake/${PROJECT_NAME}ConfigVersion.cmake
          DESTINATION ${VLQ_CMAKE_INSTALL_DIR} COMPONENT development)

  # The shared libraries are installed in place of the archives.
  get_property(listed GLOBAL PROPERTY VLQ_PUBLIC_HEADERS)
  if(BUILD_SHARED_LIBS)
    # The headers of the archives that are not installed, as they are.
    foreach(header IN LISTS listed)
      get_filename_component(folder ${header} DIRECTORY)
      install(FILES ${PROJECT_SOURCE_DIR}/include/${header}
              DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT development)
    endforeach()
  endif()

  # Every file in include/ is on some library's list of public headers.
  file(GLOB_RECURSE present RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS
       ${PROJECT_SOURCE_DIR}/include/*)
  list(REMOVE_ITEM present ${listed})
  if(present)
    message(FATAL_ERROR "include/ holds headers that no library lists as public: ${present}")
  endif()

  # The one generated header: vlq/toolkit/InstalledBundles.h, which in the tree declares nothing,
  # is written at install time with the bundles directory of this installation, so that a
  # program built against the package finds the images in the prefix it was installed to.
  install(CODE "
    set(VLQ_INSTALLED_BUNDLES_DIR \"\${CMAKE_INSTALL_PREFIX}/${VLQ_BUNDLES_INSTALL_DIR}\")
    configure_file(\"${PROJECT_SOURCE_DIR}/cmake/InstalledBundles.h.in\"
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}/vlq/toolkit/InstalledBundles.h\"
      @ONLY)" COMPONENT development)

  set(threads "")
  if(CMAKE_THREAD_LIBS_INIT)
    set(threads " ${CMAKE_THREAD_LIBS_INIT}")
  endif()
  # The shared vlq_plugin holds every layer; statically, each layer is an archive of its own.
  set(plugin_libs "-lvlq_plugin")
  if(NOT BUILD_SHARED_LIBS)
    string(APPEND plugin_libs " -lvlq_ui -lvlq_session -lvlq_model -lvlq_host -lvlq_toolkit -lvlq_layout")
  endif()
  vlq_install_pkg_config(vlq-survey-plugin
    "The VLQ survey plug-in with its views, session, model, host interface and toolkit"
    "${plugin_libs}${threads}" "nlohmann_json" "")
  vlq_install_pkg_config(vlq-reference-host
    "A complete host for the VLQ survey plug-in on real services"
    "-lvlq_host_reference" "vlq-survey-plugin" "sqlite3 cpp-httplib libcrypto")
  vlq_install_pkg_config(vlq-qt-backend
    "The Qt backend of the VLQ survey plug-in's toolkit: rendering, text, images, windows"
    "-lvlq_toolkit_qt" "vlq-survey-plugin Qt6Gui" "")
  vlq_install_pkg_config(vlq-qt-widgets
    "Surveys over a Qt Widgets application: the VLQ survey plug-in's SurveyOverlay widget"
    "-lvlq_qt_widgets" "vlq-qt-backend Qt6Widgets" "")
  # The QML module's plugin finds the item's registration in the application: the link keeps it
  # and exports it.
  vlq_install_pkg_config(vlq-qt-quick
    "Surveys over a Qt Quick application: the SurveyOverlay item of the QML module VLQ.Surveys"
    "-lvlq_qt_quick -Wl,--undefined=vlq_qt_quick_register_types -Wl,--export-dynamic-symbol=vlq_qt_quick_register_types"
    "vlq-qt-backend Qt6Quick" "")

  # The plug-in's own bundle (its identifier is kSurveyBundle) and the sample application's images.
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/plugin/
          DESTINATION ${VLQ_BUNDLES_INSTALL_DIR}/com.velqo.VLQSurveyPlugin COMPONENT runtime)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/app/
          DESTINATION ${VLQ_BUNDLES_INSTALL_DIR}/main COMPONENT runtime)
endfunction()
