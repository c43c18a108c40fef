# Installs nxcgi and one symbolic link per CGI name. The names are read from
# the handler table itself, so the list exists once, in the code.
file(STRINGS ${CMAKE_SOURCE_DIR}/src/front/handler_table.cc NXCGI_TABLE_LINES
     REGEX "^[ \t]*{\"[A-Za-z0-9_]+\\.cgi\",")
set(NXCGI_CGI_NAMES "")
foreach(line IN LISTS NXCGI_TABLE_LINES)
  string(REGEX MATCH "\"([A-Za-z0-9_]+\\.cgi)\"" _ "${line}")
  list(APPEND NXCGI_CGI_NAMES "${CMAKE_MATCH_1}")
endforeach()
list(LENGTH NXCGI_CGI_NAMES NXCGI_CGI_NAME_COUNT)
set(NXCGI_CGI_NAMES "${NXCGI_CGI_NAMES}" CACHE INTERNAL "CGI names of the handler table")

install(TARGETS nxcgi RUNTIME DESTINATION ${NXCGI_BIN_DIR})
# Each link names the executable relative to the link's directory, so that
# it holds on the device and in a staging root given as DESTDIR (a firmware
# image, the simulator's device root) alike.
file(RELATIVE_PATH NXCGI_LINK_TARGET "${NXCGI_CGI_BIN_DIR}" "${NXCGI_BIN_DIR}/nxcgi")
install(CODE "
  set(_dir \"\$ENV{DESTDIR}${NXCGI_CGI_BIN_DIR}\")
  file(MAKE_DIRECTORY \"\${_dir}\")
  foreach(_name ${NXCGI_CGI_NAMES})
    file(REMOVE \"\${_dir}/\${_name}\")
    file(CREATE_LINK \"${NXCGI_LINK_TARGET}\" \"\${_dir}/\${_name}\" SYMBOLIC)
  endforeach()
  message(STATUS \"Linked ${NXCGI_CGI_NAME_COUNT} CGI names in \${_dir}\")
")
