# How every target of this project is compiled, as the interface target vessa_compiler.

add_library(vessa_compiler INTERFACE)
target_compile_options(vessa_compiler INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror)
# Every processor and compiler gives the same bits: products and sums are never fused.
target_compile_options(vessa_compiler INTERFACE -ffp-contract=off)

if(VESSA_SANITIZE)
  target_compile_options(vessa_compiler INTERFACE -fsanitize=${VESSA_SANITIZE} -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
  target_link_options(vessa_compiler INTERFACE -fsanitize=${VESSA_SANITIZE})
endif()

if(VESSA_COVERAGE)
  target_compile_options(vessa_compiler INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(vessa_compiler INTERFACE --coverage)
endif()
