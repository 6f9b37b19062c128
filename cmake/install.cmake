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

if(TARGET kzr_ompt)
  install(TARGETS kzr_ompt LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kzr)
endif()

install(FILES README.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md")
