# Hardening of the release build. _FORTIFY_SOURCE needs optimisation, and the
# sanitizers replace it.
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
add_link_options(-Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
if(NOT TVUREV_SANITIZER)
  add_compile_options("$<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
