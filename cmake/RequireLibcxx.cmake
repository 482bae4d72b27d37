# The contract gives its event record byte by byte, with the 24-byte strings of libc++. With any
# other standard library nothing would fit, so the configuration ends here.
include(CheckCXXSourceCompiles)

function(kestrel_require_libcxx)
    set(CMAKE_REQUIRED_FLAGS "-std=c++20 -stdlib=libc++")
    set(CMAKE_REQUIRED_LINK_OPTIONS "-stdlib=libc++")
    check_cxx_source_compiles("
        #include <version>
        #ifndef _LIBCPP_VERSION
        #error not libc++
        #endif
        #include <string>
        static_assert(sizeof(std::string) == 24);
        int main() { return static_cast<int>(std::string().size()); }" KESTREL_HAS_LIBCXX)
    if(NOT KESTREL_HAS_LIBCXX OR CMAKE_CXX_FLAGS MATCHES "stdlib=libstdc")
        unset(KESTREL_HAS_LIBCXX CACHE)
        message(FATAL_ERROR "KestrelStarts needs Clang with libc++, whose 24-byte std::string its \
binary contract is made of: configure with one of the presets (cmake --list-presets).")
    endif()
endfunction()
