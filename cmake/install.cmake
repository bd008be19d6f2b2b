# What `cmake --install` leaves, and what the target `package` packs: the same folder, which runs from
# wherever it lies and which find_package(ZELKEpic) finds. All that runs is in its bin/, as in the build
# tree.
include(CMakePackageConfigHelpers)
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)  # a system's folders are no place for it
  set(CMAKE_INSTALL_PREFIX ${PROJECT_BINARY_DIR}/installed CACHE PATH "Where it is installed to" FORCE)
endif()

set(zelk_shipped zelk_contract zelk_epic)
foreach(standin zelk_core zelk_foundation zelk_eos zelk_windows)
  if(TARGET ${standin})
    list(APPEND zelk_shipped ${standin})
  endif()
endforeach()
foreach(target ${zelk_shipped})
  string(REPLACE zelk_ "" name ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
endforeach()

install(CODE "set(CMAKE_INSTALL_DO_STRIP ON)")
install(TARGETS ${zelk_shipped} EXPORT ${PROJECT_NAME}
  RUNTIME DESTINATION bin LIBRARY DESTINATION bin ARCHIVE DESTINATION lib INCLUDES DESTINATION include)
if(NOT MSVC)
  # What was stripped off the plugin, where debuggers look for it.
  install(CODE "
    set(plugin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/$<TARGET_FILE_NAME:zelk_epic>\")
    set(objcopy \"${CMAKE_OBJCOPY}\")
    execute_process(COMMAND_ERROR_IS_FATAL ANY
      COMMAND \"\${objcopy}\" --only-keep-debug \"$<TARGET_FILE:zelk_epic>\" \"\${plugin}.debug\")
    execute_process(COMMAND_ERROR_IS_FATAL ANY
      COMMAND \"\${objcopy}\" \"--add-gnu-debuglink=\${plugin}.debug\" \"\${plugin}\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${plugin}.debug\")")
endif()

set(zelk_config lib/cmake/${PROJECT_NAME})
install(EXPORT ${PROJECT_NAME} FILE ${PROJECT_NAME}Config.cmake NAMESPACE zelk:: DESTINATION ${zelk_config})
write_basic_package_version_file(${PROJECT_NAME}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/${PROJECT_NAME}ConfigVersion.cmake DESTINATION ${zelk_config})

install(DIRECTORY src/core_contract DESTINATION include)
install(FILES src/zelk_epic.h DESTINATION include)
foreach(library core foundation)
  if(TARGET zelk_${library})
    install(DIRECTORY standins/${library}/include/ DESTINATION include)
  endif()
endforeach()

# The rest is of use with the stand-ins alone.
if(NOT TARGET zelk_core OR NOT TARGET zelk_eos)
  return()
endif()
install(TARGETS zelk_epic_host RUNTIME DESTINATION bin)
install(FILES host/config.example.json DESTINATION examples)
install(DIRECTORY examples/game tests/play DESTINATION examples)
install(FILES docs/integration.md docs/worlds.md DESTINATION docs)
install(FILES CHANGELOG.md DESTINATION .)

# A README of its own, for whoever has nothing else.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS cmake/package/${CMAKE_SYSTEM_NAME}.md)
file(READ cmake/package/${CMAKE_SYSTEM_NAME}.md zelk_commands)
configure_file(cmake/package/README.md.in README.md @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/README.md DESTINATION .)

# The notices of what is linked in, by its package.
set(zelk_linked_in libcli11-dev libfmt-dev libspdlog-dev nlohmann-json3-dev)
if(MINGW)
  list(APPEND zelk_linked_in gcc-mingw-w64-base mingw-w64-common)
endif()
foreach(package ${zelk_linked_in})
  install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt)
endforeach()

# A zip for Windows, a tar.gz elsewhere.
set(CPACK_GENERATOR TGZ)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
endif()
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-x64)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
