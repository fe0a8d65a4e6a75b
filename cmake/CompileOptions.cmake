# Compile and link options of everything that is built here.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Line tables and function names are enough for a backtrace and cost half of what full debug information costs to build;
# the preset "debug" has it whole.
string(REPLACE "-g " "-g1 " CMAKE_CXX_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO}")
# But whole where others link: what is installed has none, and packaging/abi compares the interface by it.
set(KESTREL_ABI_DEBUG_INFORMATION $<$<CONFIG:RelWithDebInfo>:-g>)

# The same sources give the same bytes wherever they lie: neither the folder of the sources nor that of the build stands
# in what is built, whether as a name in debug information or as the length of a search path that installing overwrites.
add_compile_options($<$<CONFIG:RelWithDebInfo>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>
                    $<$<CONFIG:RelWithDebInfo>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

find_package(Threads REQUIRED)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor -Woverloaded-virtual
                    -Werror)
add_link_options(-Wl,-z,defs -Wl,-z,relro -Wl,-z,now)

# KESTREL_STRING_ABI is the std::string ABI that everything is built with, 0 or 1.
if(NOT KESTREL_CXX11_ABI STREQUAL "")
  add_compile_definitions(_GLIBCXX_USE_CXX11_ABI=${KESTREL_CXX11_ABI})
  set(KESTREL_STRING_ABI ${KESTREL_CXX11_ABI})
else()
  include(CheckCXXSourceCompiles)
  check_cxx_source_compiles("#include <string>\n#if !_GLIBCXX_USE_CXX11_ABI\n#error old\n#endif\nint main() {}"
                            KESTREL_COMPILER_HAS_CXX11_ABI)
  set(KESTREL_STRING_ABI 0)
  if(KESTREL_COMPILER_HAS_CXX11_ABI)
    set(KESTREL_STRING_ABI 1)
  endif()
endif()

if(KESTREL_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "KESTREL_FUZZ needs clang: configure with the preset fuzz.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(KESTREL_SANITIZE)
  add_compile_options(-fsanitize=${KESTREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KESTREL_SANITIZE})
  # A shared library of a sanitizer build leaves the sanitizer's own symbols to the program that loads it.
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_link_options(-Wl,-z,undefs)
  endif()
endif()
