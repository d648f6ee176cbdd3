# Fails unless LIBRARY exports the two entry points, the constant of qob_filter.h, and nothing else.
execute_process(COMMAND "${NM}" -D --defined-only --format=posix "${LIBRARY}"
                OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "(^|\n)[^ \n]+" names "${symbols}")
list(TRANSFORM names STRIP)
list(SORT names)
if(NOT names STREQUAL "GetTextStreamWithErrCallback;GetTextWithErrCallback;qob_filter_files")
  message(FATAL_ERROR "${LIBRARY} exports: ${names}")
endif()
