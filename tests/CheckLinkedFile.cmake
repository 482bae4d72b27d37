# Reads a linked file and tells every property of the build that it lacks.
#   FILE           the file
#   READELF, NM    the tools
#   BUILD, NINJA   the build folder, and the tool that tells how the file was linked
#   PAGE_SIZE      bytes that its segments must be aligned for; empty, but not on AArch64: the
#                  machine's own
#   TRAPPED        the undefined operations that trap; empty under the sanitizers
#   OPTIMISED      whether the build is fortified and identical functions are folded
#   IMPORTS        symbols that it must import, separated by commas
#   EXPORTED       file that lists the symbols that it exports; empty: not compared
#   NEEDED         file that lists the libraries that it needs; empty: not compared
#   FOLDED         symbols that are one function, separated by commas
#   STAYS_LOADED   whether closing it must leave it in place
cmake_policy(VERSION 3.25)
set(failures "")

function(read_with output)
    execute_process(COMMAND ${ARGN} ${FILE} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    set(${output} "${text}" PARENT_SCOPE)
endfunction()

macro(require what)
    if(NOT (${ARGN}))
        list(APPEND failures "${what}")
    endif()
endmacro()

macro(compare what variable listed)
    file(READ ${listed} expected)
    require("${what}\n${expected}  instead of\n${${variable}}" ${variable} STREQUAL expected)
endmacro()

# ---- How its sources were compiled.
read_with(recorded ${READELF} --string-dump=.GCC.command.line)
string(REGEX MATCHALL "[^\n]*clang [^\n]*" commands "${recorded}")
require("the command lines of its sources" commands)
set(flags
    -faddrsig -fstack-protector-strong -ftrivial-auto-var-init=zero -fvisibility=hidden
    -fvisibility-inlines-hidden -Werror=format-security -Werror=non-virtual-dtor)
if(TRAPPED)
    list(APPEND flags -fsanitize=${TRAPPED} -fsanitize-trap=${TRAPPED})
endif()
if(OPTIMISED)
    list(APPEND flags "-U _FORTIFY_SOURCE -D _FORTIFY_SOURCE=2")
endif()
foreach(command IN LISTS commands)
    string(REGEX MATCH "[^ ]*[.]cc$" source "${command}")
    foreach(flag IN LISTS flags)
        string(FIND "${command}" " ${flag} " found)
        require("${flag} for ${source}" found GREATER -1)
    endforeach()
endforeach()

# ---- How it was linked. The linker's defaults, which may change, are asked for too.
cmake_path(RELATIVE_PATH FILE BASE_DIRECTORY ${BUILD} OUTPUT_VARIABLE target)
execute_process(COMMAND ${NINJA} -C ${BUILD} -t commands -s ${target}
    OUTPUT_VARIABLE link COMMAND_ERROR_IS_FATAL ANY)
set(flags relro now noexecstack)
if(PAGE_SIZE)
    list(APPEND flags max-page-size=${PAGE_SIZE} common-page-size=${PAGE_SIZE})
endif()
if(TRAPPED AND FILE MATCHES "[.]so$")
    list(APPEND flags defs)
endif()
list(TRANSFORM flags PREPEND "-Wl,-z,")
list(APPEND flags -Wl,--no-undefined-version -Wl,--build-id=sha1)
if(TRAPPED)
    list(APPEND flags -Wl,--icf=safe)
endif()
foreach(flag IN LISTS flags)
    string(FIND "${link}" " ${flag} " found)
    require("${flag}" found GREATER -1)
endforeach()
read_with(headers ${READELF} --wide --file-header --program-headers --notes)
require("code that can be loaded anywhere" headers MATCHES "Type: +DYN")
require("a stack that is not executable" headers MATCHES "GNU_STACK [^\n]* RW +0x")
string(REGEX MATCH "GNU_RELRO +0x[0-9a-f]+ (0x[0-9a-f]+) 0x[0-9a-f]+ 0x[0-9a-f]+ (0x[0-9a-f]+)"
    relro "${headers}")
require("relocations that become read-only" relro)
if(relro AND PAGE_SIZE)
    math(EXPR beyond "(${CMAKE_MATCH_1} + ${CMAKE_MATCH_2}) % ${PAGE_SIZE}")
    require("relocations that become read-only to the end of a page" beyond EQUAL 0)
endif()
require("a build id of 20 bytes" headers MATCHES "Build ID: [0-9a-f]+\n")
string(REGEX MATCH "Build ID: ([0-9a-f]+)" ignored "${headers}")
string(LENGTH "${CMAKE_MATCH_1}" digits)
require("a build id of 20 bytes" digits EQUAL 40)
require("pages that its segments are aligned for" PAGE_SIZE OR NOT headers MATCHES "AArch64")
string(REGEX MATCHALL "\n +LOAD [^\n]*" segments "${headers}")
require("segments" segments)
foreach(segment IN LISTS segments)
    require("no segment that is writable and executable:${segment}" NOT segment MATCHES " RWE ")
    if(PAGE_SIZE)
        string(REGEX MATCH "0x[0-9a-f]+$" alignment "${segment}")
        math(EXPR alignment "${alignment}")
        require("a segment aligned for ${PAGE_SIZE}:${segment}" alignment EQUAL PAGE_SIZE)
    endif()
endforeach()

read_with(dynamic ${READELF} --wide --dynamic-table)
require("symbols bound when it is loaded" dynamic MATCHES "\\(FLAGS_1\\)[^\n]* NOW")
require("no text relocations" NOT dynamic MATCHES "TEXTREL")
if(STAYS_LOADED)
    require("to stay when it is closed" dynamic MATCHES "\\(FLAGS_1\\)[^\n]* NODELETE")
    require("no search path of its own" NOT dynamic MATCHES "\\((RPATH|RUNPATH)\\)")
endif()

# ---- What it takes and gives.
read_with(undefined ${NM} --dynamic --undefined-only --format=just-symbols)
string(REPLACE "," ";" IMPORTS "${IMPORTS}")
foreach(symbol IN LISTS IMPORTS)
    require("the import ${symbol}" undefined MATCHES "(^|\n)${symbol}[@\n]")
endforeach()
if(NEEDED)
    string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" entries "${dynamic}")
    list(TRANSFORM entries REPLACE ".*\\[(.*)\\]" "\\1\n")
    list(SORT entries)
    string(JOIN "" needed ${entries})
    compare("the libraries" needed ${NEEDED})
endif()
if(EXPORTED)
    read_with(exported ${NM} --dynamic --demangle --defined-only --format=just-symbols)
    compare("the exports" exported ${EXPORTED})
endif()
if(FOLDED AND OPTIMISED)
    read_with(symbols ${NM} --defined-only)
    set(addresses "")
    string(REPLACE "," ";" symbols_to_fold "${FOLDED}")
    foreach(symbol IN LISTS symbols_to_fold)
        string(REGEX MATCH "([0-9a-f]+) [tT] ${symbol}\n" found "${symbols}")
        require("the function ${symbol}" found)
        list(APPEND addresses "${CMAKE_MATCH_1}")
    endforeach()
    list(REMOVE_DUPLICATES addresses)
    require("one function for ${FOLDED}" addresses MATCHES "^[0-9a-f]+$")
endif()

if(failures)
    list(JOIN failures "\n  " text)
    message("${FILE} lacks\n  ${text}")
    message(FATAL_ERROR "its build is not what it must be")
endif()
