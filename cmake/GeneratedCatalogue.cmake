# The message catalogue once more, as fastddsgen makes it from aspn2_msgs/idl: what ours is held against, in tests and
# benchmarks. Its module is renamed, so that both fit into one program: `generated::idl::UTCTime`.

find_program(FASTDDSGEN fastddsgen REQUIRED)

set(generated_dir "${PROJECT_BINARY_DIR}/generated_catalogue")
set(generated_idl)
set(generated_sources)
foreach(name common navigation command gnss)
    set(source "${PROJECT_SOURCE_DIR}/aspn2_msgs/idl/${name}.idl")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
    file(READ "${source}" text)
    string(REPLACE "module aspn2_msgs {" "module generated {" text "${text}")
    file(CONFIGURE OUTPUT "${generated_dir}/${name}.idl" CONTENT "${text}" @ONLY)
    list(APPEND generated_idl "${generated_dir}/${name}.idl")
    foreach(unit ${name} ${name}PubSubTypes)
        list(APPEND generated_sources "${generated_dir}/${unit}.cxx" "${generated_dir}/${unit}.h")
    endforeach()
endforeach()

add_custom_command(OUTPUT ${generated_sources}
    COMMAND "${FASTDDSGEN}" -replace -d "${generated_dir}" ${generated_idl} > "${generated_dir}/fastddsgen.log"
    WORKING_DIRECTORY "${generated_dir}"
    DEPENDS ${generated_idl}
    COMMENT "Generating the reference of the message catalogue"
    VERBATIM)

# Not our code, so not with our warnings.
add_library(generated_catalogue STATIC EXCLUDE_FROM_ALL ${generated_sources})
target_include_directories(generated_catalogue SYSTEM PUBLIC "${generated_dir}")
target_compile_options(generated_catalogue PRIVATE -w ${ORVANE_LTO_COMPILE})
target_link_libraries(generated_catalogue PUBLIC fastrtps fastcdr)
