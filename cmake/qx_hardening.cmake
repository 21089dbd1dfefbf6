# Hardening of everything that is built, in every preset: what an attacker would need for turning a
# fault into control of the process is taken away, or ends the process at the place of the fault.
# tests/install/hardening_test.sh looks for all of it in what is installed.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)

check_pie_supported(LANGUAGES CXX OUTPUT_VARIABLE qx_pie_says)
if(NOT CMAKE_CXX_LINK_PIE_SUPPORTED)
  message(FATAL_ERROR "Position independent programs cannot be linked: ${qx_pie_says}")
endif()

add_compile_options(-fstack-protector-strong)
# Guard pages cannot be jumped over by a large frame.
check_cxx_compiler_flag(-fstack-clash-protection QX_HAS_STACK_CLASH_PROTECTION)
if(QX_HAS_STACK_CLASH_PROTECTION)
  add_compile_options(-fstack-clash-protection)
endif()
# Indirect calls end at the beginning of functions only; the option's name depends on the processor.
check_cxx_compiler_flag(-fcf-protection=full QX_HAS_CF_PROTECTION)
check_cxx_compiler_flag(-mbranch-protection=standard QX_HAS_BRANCH_PROTECTION)
if(QX_HAS_CF_PROTECTION)
  add_compile_options(-fcf-protection=full)
elseif(QX_HAS_BRANCH_PROTECTION)
  add_compile_options(-mbranch-protection=standard)
endif()
# The C library checks lengths only where the compiler optimises, and warns otherwise. The address
# sanitizer brings checks of its own for the same functions. The option is unset first, since some
# compilers set it themselves.
if(NOT QX_SANITIZE)
  add_compile_options(
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>" "$<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>")
endif()
# All symbols are bound at the start, and the tables of their addresses are read-only afterwards.
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
