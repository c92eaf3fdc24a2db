# How a room of src/ becomes an object library, and how the shared libraries are made of rooms.

add_library(kvdm_options INTERFACE)
target_compile_features(kvdm_options INTERFACE cxx_std_20)
target_compile_options(kvdm_options INTERFACE -Wall -Wextra -Wno-non-virtual-dtor
                       -fvisibility=hidden -fvisibility-inlines-hidden)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Its optimiser warns of copies in std::string and std::vector that are in order; later ones do not.
  target_compile_options(kvdm_options INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow)
endif()
target_include_directories(kvdm_options INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
if(KVDM_SANITIZE)
  target_compile_options(kvdm_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(kvdm_options INTERFACE -fsanitize=address,undefined)
endif()
if(KVDM_FUZZ)
  target_compile_options(kvdm_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(KVDM_CCACHE ccache)
if(KVDM_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KVDM_CCACHE})
endif()

# Under KVDM_WERROR no warning of the target passes. Tests are left out: g++ 12 finds there what is none.
function(kvdm_warnings_as_errors target)
  if(KVDM_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU) # g++ 12 sees bounds broken in the standard library's own copying
      target_compile_options(${target} PRIVATE -Wno-error=array-bounds -Wno-error=stringop-overflow -Wno-error=restrict)
    endif()
  endif()
endfunction()

# kvdm_room(name [PATH folder] [EXCLUDE subfolder...] [LIBRARIES ...]): all sources below src/<folder> as kvdm_<name>.
function(kvdm_room name)
  cmake_parse_arguments(ROOM "" "PATH" "EXCLUDE;LIBRARIES" ${ARGN})
  if(NOT ROOM_PATH)
    set(ROOM_PATH ${name})
  endif()
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${ROOM_PATH}/*.cpp)
  foreach(folder IN LISTS ROOM_EXCLUDE)
    list(FILTER sources EXCLUDE REGEX "/${ROOM_PATH}/${folder}/")
  endforeach()
  if(NOT WIN32)
    list(FILTER sources EXCLUDE REGEX "/windows/")
  endif()
  add_library(kvdm_${name} OBJECT ${sources})
  set_target_properties(kvdm_${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_link_libraries(kvdm_${name} PUBLIC kvdm_options ${ROOM_LIBRARIES})
  kvdm_warnings_as_errors(kvdm_${name})
  if(name STREQUAL ole OR name STREQUAL compoundfile)
    target_compile_definitions(kvdm_${name} PRIVATE KVOLE_BUILDING)
  endif()
  if(name STREQUAL automation)
    target_compile_definitions(kvdm_${name} PRIVATE KVDOCMGR_BUILDING)
  endif()
endfunction()

# Only what the version script of the library names is exported.
function(kvdm_shared_library name)
  set(script ${PROJECT_SOURCE_DIR}/cmake/${name}.map)
  target_link_options(${name} PRIVATE LINKER:--version-script=${script})
  if(NOT KVDM_SANITIZE) # clang keeps the sanitizers' own functions in the program alone
    target_link_options(${name} PRIVATE LINKER:--no-undefined)
  endif()
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS ${script})
  target_include_directories(${name} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${name} INTERFACE cxx_std_20)
endfunction()
