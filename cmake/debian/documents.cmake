# Run by cpack on the files of all packages before it builds them: adds each one's copyright and
# change logs, and compresses what Debian compresses. Their time is that of the last commit, so that
# packages of one commit are always the same bytes.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C ${CMAKE_CURRENT_LIST_DIR} log -1 --format=%ct
                  OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(commit_time)
    set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
  endif()
endif()
foreach(package library:libpkider0 development:libpkider-dev tools:pkider-tools)
  string(REPLACE ":" ";" package ${package})
  list(GET package 0 component)
  list(GET package 1 name)
  set(usr ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
  set(doc ${usr}/share/doc/${name})
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${doc})
  file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/changelog ${doc}/changelog.Debian)
  file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../../CHANGELOG.md ${doc}/changelog)
  file(GLOB pages ${usr}/share/man/man1/*.1)
  execute_process(COMMAND gzip -9nf ${doc}/changelog ${doc}/changelog.Debian ${pages}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()
