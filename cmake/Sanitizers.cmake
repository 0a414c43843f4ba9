# ZELK_SANITIZE=ON builds everything with AddressSanitizer and UndefinedBehaviorSanitizer;
# any finding aborts the test that triggered it.
option(ZELK_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(ZELK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
