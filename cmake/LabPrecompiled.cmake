# orvane_lab_precompile_json(LIBRARY): JSON's header, which most units of the lab's libraries include and take longest to
# read, is read once for all of them. No other header: each source includes what it uses.
add_library(lab_precompiled STATIC "${CMAKE_CURRENT_LIST_DIR}/lab-precompiled.cpp")
target_link_libraries(lab_precompiled PRIVATE orvane::options nlohmann_json::nlohmann_json)
target_precompile_headers(lab_precompiled PRIVATE <nlohmann/json.hpp>)

function(orvane_lab_precompile_json library)
    target_precompile_headers(${library} REUSE_FROM lab_precompiled)
endfunction()
