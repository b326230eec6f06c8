# kv_manual(PROGRAM COMPONENT): its man page and its completions, which the program itself writes, built with it
# and installed where man, bash and zsh look.
function(kv_manual program component)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/manual)
  file(MAKE_DIRECTORY ${folder})
  set(outputs)
  foreach(pair "${program}.1=--man" "${program}=--completion bash" "_${program}=--completion zsh")
    string(REPLACE "=" ";" pair ${pair})
    list(GET pair 0 file)
    list(GET pair 1 question)
    separate_arguments(question)
    add_custom_command(OUTPUT ${folder}/${file} DEPENDS ${program}
      COMMAND ${program} help ${question} > ${folder}/${file} VERBATIM)
    list(APPEND outputs ${folder}/${file})
  endforeach()
  # As Debian has its man pages, and without a time, so that a build gives the same bytes again.
  add_custom_command(OUTPUT ${folder}/${program}.1.gz DEPENDS ${folder}/${program}.1
    COMMAND gzip -9 -n -k -f ${folder}/${program}.1 VERBATIM)
  add_custom_target(${program}_manual ALL DEPENDS ${outputs} ${folder}/${program}.1.gz)
  install(FILES ${folder}/${program}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
  install(FILES ${folder}/${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component})
  install(FILES ${folder}/_${program} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    COMPONENT ${component})
endfunction()
