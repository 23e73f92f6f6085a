# How the 32-bit build's programs run on this machine. Many 64-bit kernels
# no longer execute 32-bit programs ("Exec format error"); there the test
# programs (and the tools the tests start) run under user-mode emulation,
# qemu-i386, which CTest and test discovery use through
# CMAKE_CROSSCOMPILING_EMULATOR. A machine that runs them natively keeps
# doing so. TW_M32_RUNNER says which it is ("native" or the emulator).
if(CMAKE_CROSSCOMPILING_EMULATOR)
  set(TW_M32_RUNNER "${CMAKE_CROSSCOMPILING_EMULATOR}")
  return()
endif()

set(_tw_probe ${CMAKE_BINARY_DIR}/m32_probe.c)
file(WRITE ${_tw_probe} "int main(void) { return sizeof(void*) == 4 ? 0 : 3; }\n")
try_run(_tw_m32_run _tw_m32_compiled ${CMAKE_BINARY_DIR}/m32_probe ${_tw_probe}
        COMPILE_DEFINITIONS -m32 LINK_OPTIONS -m32
        COMPILE_OUTPUT_VARIABLE _tw_m32_compile_output)
if(NOT _tw_m32_compiled)
  message(FATAL_ERROR "the 32-bit build needs a -m32 toolchain (install g++-multilib):\n${_tw_m32_compile_output}")
endif()
if(_tw_m32_run EQUAL 0)
  set(TW_M32_RUNNER "native")
  message(STATUS "32-bit programs run natively on this machine")
  return()
endif()

find_program(TW_QEMU_I386 NAMES qemu-i386-static qemu-i386)
if(NOT TW_QEMU_I386)
  message(FATAL_ERROR "this kernel cannot run 32-bit programs and no qemu-i386 was found: "
                      "install qemu-user-static to run the 32-bit tests under emulation")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR ${TW_QEMU_I386} CACHE FILEPATH "Runs the 32-bit programs" FORCE)
set(TW_M32_RUNNER "${TW_QEMU_I386}")
message(STATUS "32-bit programs cannot run natively here; tests run emulated under ${TW_QEMU_I386}")
