# Fails unless LIBRARY exports the two entry points and nothing else.
execute_process(COMMAND "${NM}" -D --defined-only --format=posix "${LIBRARY}"
                OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "(^|\n)[^ \n]+" names "${symbols}")
list(TRANSFORM names STRIP)
list(SORT names)
if(NOT names STREQUAL "GetTextStreamWithErrCallback;GetTextWithErrCallback")
  message(FATAL_ERROR "${LIBRARY} exports: ${names}")
endif()
