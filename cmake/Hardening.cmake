# What makes a memory fault harder to use: everything is position independent, what the loader has settled is
# read-only, stacks are guarded and not executable, and indirect jumps land only where they may. Debug builds, which
# nobody installs, go without it.
if(CMAKE_BUILD_TYPE STREQUAL Debug)
  return()
endif()
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
check_pie_supported(LANGUAGES CXX)
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
check_cxx_compiler_flag(-fcf-protection=full zpapache_has_cet)  # x86 only
if(zpapache_has_cet)
  add_compile_options(-fcf-protection=full)
  # The C library's start files may lack the marks, and one of them is enough to lose the whole file's. They keep the
  # shadow stack in balance; where an indirect jump may land is marked in our own code alone.
  add_link_options(LINKER:-z,shstk LINKER:-z,ibtplt)
endif()
# It needs an optimised build, and a compiler may have defined it already.
if(CMAKE_BUILD_TYPE)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
