# What makes a fault in the handling of strangers' files harder to exploit. The sanitizers replace it: they watch the same
# places more closely.
if(QUELLOR_SANITIZE)
  return()
endif()
include(CheckPIESupported)
check_pie_supported()
# The level comes from the distribution's compiler in some builds already.
add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong -fstack-clash-protection)
add_compile_definitions(_GLIBCXX_ASSERTIONS)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64")
  add_compile_options(-fcf-protection)
endif()
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
