# cmake --install: both libraries, the headers, kvdm, a CMake package and pkg-config files.
include(CMakePackageConfigHelpers)

set(KVDM_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KvDocumentMgr)

# The libraries lie side by side, kvdm finds them from beside the library folder: an installed tree can be moved as a whole.
file(RELATIVE_PATH KVDM_LIBRARIES_FROM_BIN /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
if(KVDM_TOOLS AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(kvdm PROPERTIES INSTALL_RPATH "$ORIGIN/${KVDM_LIBRARIES_FROM_BIN}")
endif()
set_target_properties(kvdocmgr PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS kvole kvdocmgr EXPORT KvDocumentMgr
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(KVDM_TOOLS)
  install(TARGETS kvdm RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kvdocmgr DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/NOTICE ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# find_package(KvDocumentMgr) gives KvDocumentMgr::kvdocmgr and KvDocumentMgr::kvole. Interfaces only ever grow: a client runs
# with any later version of the same major number.
install(EXPORT KvDocumentMgr NAMESPACE KvDocumentMgr:: DESTINATION ${KVDM_PACKAGE_DIR} FILE KvDocumentMgrTargets.cmake)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KvDocumentMgrConfig.cmake.in ${PROJECT_BINARY_DIR}/KvDocumentMgrConfig.cmake
                              INSTALL_DESTINATION ${KVDM_PACKAGE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KvDocumentMgrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KvDocumentMgrConfig.cmake ${PROJECT_BINARY_DIR}/KvDocumentMgrConfigVersion.cmake
        DESTINATION ${KVDM_PACKAGE_DIR})

# pkg-config files that find the tree from where they lie, as far as the folders are below the prefix.
file(RELATIVE_PATH KVDM_PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(KVDM_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  string(REGEX REPLACE "/$" "" KVDM_PC_PREFIX "\${pcfiledir}/${KVDM_PREFIX_FROM_PKGCONFIG}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    set(KVDM_PC_${folder} ${CMAKE_INSTALL_${folder}})
  else()
    set(KVDM_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
foreach(library kvole kvdocmgr)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${library}.pc.in ${PROJECT_BINARY_DIR}/${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
