# larder_hardening: options that make faults in the code harder to exploit. larder_options and
# larder_sqlite link it, so every target has them; tests/abi checks the built files.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
check_pie_supported()  # programs are linked with -pie

# A target with this property is compiled without optimization, which _FORTIFY_SOURCE needs.
define_property(TARGET PROPERTY LARDER_UNOPTIMIZED INITIALIZE_FROM_VARIABLE LARDER_UNOPTIMIZED)

add_library(larder_hardening INTERFACE)
if(WIN32)
  # No stack protector. MinGW's has a runtime of its own: as a DLL it would be one more to ship, and
  # linked into a DLL it calls the cryptographic provider, which loads further DLLs, in DllMain.
  target_link_options(larder_hardening INTERFACE
    LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat)
  return()
endif()

target_compile_options(larder_hardening INTERFACE -fstack-protector-strong)
target_link_options(larder_hardening INTERFACE
  LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
check_cxx_compiler_flag(-fcf-protection=full LARDER_HAS_CF_PROTECTION)
if(LARDER_HAS_CF_PROTECTION)
  target_compile_options(larder_hardening INTERFACE -fcf-protection=full)
endif()
if(NOT LARDER_SANITIZE)  # the sanitizers don't check the functions that it puts in place of others
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstring>\nint main() {}" LARDER_HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(level $<IF:$<BOOL:${LARDER_HAS_FORTIFY_3}>,3,2>)
  set(optimized $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  set(unoptimized $<BOOL:$<TARGET_PROPERTY:LARDER_UNOPTIMIZED>>)
  target_compile_options(larder_hardening INTERFACE
    "$<$<AND:${optimized},$<NOT:${unoptimized}>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
endif()
