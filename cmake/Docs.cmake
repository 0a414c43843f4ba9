# The zelklog man page (scdoc source turned into roff at build time), its bash completion
# and the run path of the installed tool.
find_program(SCDOC_EXECUTABLE scdoc REQUIRED)
set(ZELK_MAN_SOURCE ${PROJECT_SOURCE_DIR}/tools/man/zelklog.1.scd)
set(ZELK_MAN_PAGE ${PROJECT_BINARY_DIR}/man/zelklog.1)
add_custom_command(OUTPUT ${ZELK_MAN_PAGE}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
  COMMAND sh -c "\"$0\" <\"$1\" >\"$2\"" ${SCDOC_EXECUTABLE} ${ZELK_MAN_SOURCE} ${ZELK_MAN_PAGE}
  DEPENDS ${ZELK_MAN_SOURCE}
  COMMENT "Generating the zelklog(1) man page"
  VERBATIM)
add_custom_target(man ALL DEPENDS ${ZELK_MAN_PAGE})
install(FILES ${ZELK_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/zelklog.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zelklog COMPONENT tool)

# The installed tool finds the installed libraries wherever the prefix is.
if(TARGET zelklog)
  set_property(TARGET zelklog PROPERTY INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()
