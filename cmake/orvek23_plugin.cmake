# A plug-in whose passes take one path: auto (chosen when it is loaded), baseline, avx2, or plain (the
# visitors of algorithms/ alone, for any processor and compiler).
#   NAME          the module lib<NAME>.so
#   NAME_objects  its object code
function(orvek23_add_plugin name isa)
  if(NOT isa MATCHES "^(auto|baseline|avx2|plain)$")
    message(FATAL_ERROR "ORVEK23_ISA is auto, baseline, avx2 or plain, not \"${isa}\"")
  endif()
  string(TOUPPER "${isa}" pinned)
  add_library(${name}_objects OBJECT
              "${PROJECT_SOURCE_DIR}/model/orvek23.cpp"
              "${PROJECT_SOURCE_DIR}/host/orvek23_system.cpp")
  if(isa MATCHES "^(auto|avx2)$" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    target_sources(${name}_objects PRIVATE "${PROJECT_SOURCE_DIR}/host/passes_avx2.cpp")
    # The passes take no canary where the flags of a distribution ask for one: docs/packages.md.
    set_source_files_properties("${PROJECT_SOURCE_DIR}/host/passes_avx2.cpp" PROPERTIES
                                COMPILE_OPTIONS -fno-stack-protector)
  endif()
  target_link_libraries(${name}_objects PUBLIC orvek23_core orvek23_host)
  target_compile_definitions(${name}_objects PRIVATE ORVEK23_ISA_${pinned})
  orvek23_tune_passes(${name}_objects)
  orvek23_hide_symbols(${name}_objects)

  orvek23_add_module(${name} ${name}_objects "${PROJECT_SOURCE_DIR}/host/plugin.cpp")
endfunction()

# Hidden symbols, and none that the dynamic loader would keep unique for the whole process: those
# outlive dlclose.
function(orvek23_hide_symbols target)
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  set_target_properties(${target} PROPERTIES
                        POSITION_INDEPENDENT_CODE ON
                        CXX_VISIBILITY_PRESET hidden
                        VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# The module lib<NAME>.so of object code and of the SOURCES with the entry points.
function(orvek23_add_module name objects)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE ${objects})
  target_compile_definitions(${name} PRIVATE $<TARGET_PROPERTY:${objects},COMPILE_DEFINITIONS>)
  orvek23_hide_symbols(${name})
  set(plugin_map "${PROJECT_SOURCE_DIR}/host/plugin.map")
  target_link_options(${name} PRIVATE "LINKER:--version-script=${plugin_map}"
                      "LINKER:-soname,lib${name}.so")  # as Debian asks of all that is in lib/
  if(NOT ORVEK23_SANITIZE)
    target_link_options(${name} PRIVATE LINKER:-z,defs)  # a sanitizer's own symbols come later
  endif()
  # A libktmath.so that the host has loaded is taken first, whatever stands here; then one beside the
  # plug-in, then the stand-in.
  set_target_properties(${name} PROPERTIES LINK_DEPENDS "${plugin_map}"
                        INSTALL_RPATH "$ORIGIN:$ORIGIN/orvek23")
endfunction()

# How the passes are compiled: clang 14 leaves calls in so long a function at its own threshold.
function(orvek23_tune_passes target)
  target_compile_options(${target} PRIVATE
    # g++ 12 inlines only one of the adapter's own new and delete, then misses the other.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-mismatched-new-delete>
    "$<$<CXX_COMPILER_ID:Clang>:SHELL:-mllvm -inline-threshold=100000>")
endfunction()
