find_package(PkgConfig REQUIRED)

# Loadable modules stand in one folder beside the program, which finds them relative to itself.
set(QUELLOR_MODULE_DIRECTORY "${PROJECT_BINARY_DIR}/modules")
add_custom_target(quellor_modules)

# quellor_module(NAME SOURCES file... PACKAGES pkg-config-name... LIBRARIES target...)
#
# Defines the loadable module quellor-NAME.so: the one place that the named third-party packages are included from.
function(quellor_module name)
  cmake_parse_arguments(arg "" "" "SOURCES;PACKAGES;LIBRARIES" ${ARGN})
  set(target quellor-${name})
  add_library(${target} MODULE ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY "${QUELLOR_MODULE_DIRECTORY}")
  target_link_libraries(${target} PRIVATE platform_values ${arg_LIBRARIES} quellor_warnings)
  if(NOT QUELLOR_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
  foreach(package IN LISTS arg_PACKAGES)
    string(MAKE_C_IDENTIFIER "${package}" identifier)
    pkg_check_modules(${identifier} REQUIRED IMPORTED_TARGET ${package})
    target_link_libraries(${target} PRIVATE PkgConfig::${identifier})
  endforeach()
  add_dependencies(quellor_modules ${target})
endfunction()
