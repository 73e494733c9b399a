# Every target of this project links quellor_warnings; third-party headers come in as system headers.
add_library(quellor_warnings INTERFACE)
target_compile_options(quellor_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual -Wnon-virtual-dtor
  -Woverloaded-virtual -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
if(QUELLOR_WARNINGS_AS_ERRORS)
  target_compile_options(quellor_warnings INTERFACE -Werror)
endif()

if(QUELLOR_SANITIZE)
  add_compile_options(-fsanitize=${QUELLOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QUELLOR_SANITIZE})
  add_compile_definitions(QUELLOR_SANITIZED)
endif()
