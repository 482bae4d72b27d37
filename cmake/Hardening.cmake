# What a vendor library of the platform is built with, on a device and here; tests read it back from
# the linked files.
set(KESTREL_MAX_PAGE_SIZE "" CACHE STRING
    "Page size in bytes that segments are aligned for; the default is 16384 on AArch64")
if(NOT KESTREL_MAX_PAGE_SIZE AND CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    set(KESTREL_MAX_PAGE_SIZE 16384)
endif()
if(NOT KESTREL_MAX_PAGE_SIZE MATCHES "^(4096|16384|65536|)$")
    message(FATAL_ERROR "KESTREL_MAX_PAGE_SIZE is ${KESTREL_MAX_PAGE_SIZE}: must be 4096, 16384 or 65536.")
endif()

set(KESTREL_TRAPPED signed-integer-overflow,integer-divide-by-zero,shift,bounds)

add_library(kestrel_hardening INTERFACE)
target_compile_options(kestrel_hardening INTERFACE
    -fstack-protector-strong
    -ftrivial-auto-var-init=zero
    -fvisibility=hidden -fvisibility-inlines-hidden
    -Wformat -Werror=format-security -Wnon-virtual-dtor -Werror=non-virtual-dtor
    # Says which functions --icf=safe may fold; not the default for devices.
    -faddrsig
    # Into a section that is not loaded and that stripping removes.
    -frecord-command-line)
target_link_options(kestrel_hardening INTERFACE
    -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack
    -Wl,--no-undefined-version -Wl,--build-id=sha1 -Wl,--as-needed)
if(KESTREL_MAX_PAGE_SIZE)
    # The second: what becomes read-only ends with a page, else the loader leaves it writable.
    target_link_options(kestrel_hardening INTERFACE
        -Wl,-z,max-page-size=${KESTREL_MAX_PAGE_SIZE}
        -Wl,-z,common-page-size=${KESTREL_MAX_PAGE_SIZE})
endif()
if(KESTREL_SANITIZE)
    # The sanitizers' runtime comes with the program, so that libraries cannot be complete; its
    # objects do not say which functions may be folded; it checks itself what fortification checks.
    target_compile_options(kestrel_hardening INTERFACE
        -fsanitize=${KESTREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kestrel_hardening INTERFACE -fsanitize=${KESTREL_SANITIZE})
else()
    # Undefined arithmetic ends the process instead of going on with a wrong number; the checks need
    # no runtime. Fortification needs an optimised build.
    target_compile_options(kestrel_hardening INTERFACE
        -fsanitize=${KESTREL_TRAPPED} -fsanitize-trap=${KESTREL_TRAPPED}
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
        $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    target_link_options(kestrel_hardening INTERFACE
        -Wl,--icf=safe
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-Wl,-z,defs>)
endif()
