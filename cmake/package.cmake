# The target `package`: a zip for Windows, a tar.gz elsewhere, that runs from wherever it is unpacked. All
# that runs lies in one folder, as in the build tree.
set(zelk_package COMPONENT package EXCLUDE_FROM_ALL)
set(zelk_package_targets zelk_epic zelk_core zelk_foundation zelk_eos zelk_epic_host)
if(NOT WIN32)
  list(APPEND zelk_package_targets zelk_windows)
endif()
install(TARGETS ${zelk_package_targets}
  RUNTIME DESTINATION bin ${zelk_package}
  LIBRARY DESTINATION bin ${zelk_package})
if(WIN32)
  install(FILES $<TARGET_LINKER_FILE:zelk_epic> DESTINATION lib ${zelk_package})
endif()
install(DIRECTORY src/core_contract DESTINATION include ${zelk_package})
install(FILES src/zelk_epic.h DESTINATION include ${zelk_package})
install(FILES README.md DESTINATION . ${zelk_package})
install(DIRECTORY docs DESTINATION . ${zelk_package})
install(FILES host/config.example.json DESTINATION examples ${zelk_package})
install(DIRECTORY tests/play DESTINATION examples ${zelk_package})

# What is linked in, by its package: the notices are those of the packages.
set(zelk_linked_in libcli11-dev libfmt-dev libspdlog-dev nlohmann-json3-dev)
if(MINGW)
  list(APPEND zelk_linked_in gcc-mingw-w64-base mingw-w64-common)
endif()
foreach(package ${zelk_linked_in})
  install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt ${zelk_package})
endforeach()

set(CPACK_GENERATOR TGZ)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
endif()
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-x64)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR};${PROJECT_NAME};package;/")
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
