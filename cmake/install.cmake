# What `cmake --install` puts where. kzr and what belongs to it is there when its libraries are.
include(GNUInstallDirs)

set(kzr_bash_completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(kzr_zsh_completions ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
set(kzr_fish_completions ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

foreach(program kzr2xml kzr)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    # Subcommands have pages of their own.
    file(GLOB pages CONFIGURE_DEPENDS man/${program}.1 man/${program}-*.1)
    install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES completions/${program}.bash DESTINATION ${kzr_bash_completions} RENAME ${program})
    install(FILES completions/${program}.zsh DESTINATION ${kzr_zsh_completions} RENAME _${program})
    install(FILES completions/${program}.fish DESTINATION ${kzr_fish_completions})
  endif()
endforeach()

# For programs that record themselves: find_package(kzr), kzr::recorder.
install(TARGETS trace_recorder EXPORT kzr_targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES recorder/trace_recorder.h recorder/trace_encoder.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kzr/recorder)
set(kzr_package ${CMAKE_INSTALL_LIBDIR}/cmake/kzr)
install(EXPORT kzr_targets NAMESPACE kzr:: DESTINATION ${kzr_package})
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/kzrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/kzrConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/kzrConfigVersion.cmake DESTINATION ${kzr_package})

if(TARGET kzr_ompt)
  install(TARGETS kzr_ompt LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kzr)
endif()

install(FILES README.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md" PATTERN "*.schema.json"
  PATTERN "*.png")
