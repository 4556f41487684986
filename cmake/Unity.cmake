# Several sources are compiled as one, in half of the time, in those of "product", "victory", "lab" and "tests" that a preset
# names. So that a source that lacks a header is found, the product is compiled one by one for release, and some of the rest by
# `script/static compile` in each run of CI; all of it in the build to work with.
set(ORVANE_TOGETHER "" CACHE STRING "What is compiled several sources at a time: product, victory, lab, tests")

# These stay alone. A name of their own, or a macro of what they include, stands in another source of the same library or
# program; or a program is linked without them, or with names that they alone make visible.
set(ORVANE_ALONE
    ioss_mcsq/ZentorM_8504_Msg.cpp
    lab/ctl/PubRecords.cpp
    lab/ctl/play/RecordTimes.cpp
    lab/ctl/record/RecordingInfo.cpp
    lab/ctl/record/RecordingWhy.cpp
    lab/ctl/top/TopModel.cpp
    lab/ctl/top/UnitFeed.cpp
    lab/ctl/why/WhyRun.cpp
    lab/libvictory/victory.cpp
    lab/unit/QueueFeeder.cpp
    lab/unit/Records.cpp
    lab/unit/ScenarioText.cpp
    reliability/load/Rates.cpp
    reliability/load/Topics.cpp
    tests/ASPN/FaultHysteresisTest.cpp
    tests/VICTORY/OrvaneServer/OrvaneServerManagementTest.cpp
    tests/VICTORY/OrvaneServer/WarningsTest.cpp
    tests/face/HX_Config_HelpersTest.cpp
    tests/face/HX_DevmemTest.cpp
    tests/ioss_mcsq/ZentorM_5044_MsgTest.cpp
    tests/lab/clock/ClockFileTest.cpp
    tests/lab/ctl/FrameDecoderTest.cpp
    tests/lab/ctl/RecordingFilesTest.cpp
    tests/lab/ctl/serve/PageModelTest.cpp
    tests/lab/unit/QueueFeederTest.cpp
    tests/lab/unit/ReceiverFramesTest.cpp
    tests/lab/unit/ScenarioTextTest.cpp
    tests/lab/unit/TrackFileTest.cpp
    tests/lab/unit/WorldTest.cpp
    tests/system/ClearDataTest.cpp
    tests/system/PartNumbersTest.cpp
    tests/system/ProcessTest.cpp
    tests/system/SurroundingsTest.cpp
    tests/utilities/GpsDateTimeTest.cpp
    tests/utilities/NormalizeRangeTest.cpp
    tests/utilities/PositionUtilitiesTest.cpp
    tests/utilities/SaturateTest.cpp
    tests/utilities/TimeUtilitiesTest.cpp
    tests/utilities/boxvehtransformTest.cpp
    tests/utilities/cvtTest.cpp
    tests/utilities/geodeticTest.cpp
    tests/utilities/matrix3dTest.cpp
    tests/utilities/roundTest.cpp
    tests/utilities/vector3dTest.cpp
    utilities/OpenAgain.cpp
    utilities/WatchdogTimer.cpp
)

# orvane_together(WHAT): what is added from here on is WHAT.
function(orvane_together what)
    set(isTogether OFF)
    if(what IN_LIST ORVANE_TOGETHER)
        set(isTogether ON)
    endif()
    set(CMAKE_UNITY_BUILD ${isTogether} PARENT_SCOPE)
endfunction()

# orvane_folders(OUT FOLDER): all that was added, that folder and those below it.
function(orvane_folders out folder)
    set(found "${folder}")
    get_property(inner DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
    foreach(each IN LISTS inner)
        orvane_folders(deeper "${each}")
        list(APPEND found ${deeper})
    endforeach()
    set(${out} "${found}" PARENT_SCOPE)
endfunction()

# orvane_alone(): sees to those that stay alone, once all is added. A preset may leave out folders of theirs.
function(orvane_alone)
    orvane_folders(added "${PROJECT_SOURCE_DIR}")
    foreach(source IN LISTS ORVANE_ALONE)
        if(NOT EXISTS "${PROJECT_SOURCE_DIR}/${source}")
            message(FATAL_ERROR "cmake/Unity.cmake: there is no ${source}")
        endif()
        cmake_path(GET source PARENT_PATH folder)
        while(NOT EXISTS "${PROJECT_SOURCE_DIR}/${folder}/CMakeLists.txt")
            cmake_path(GET folder PARENT_PATH folder)
        endwhile()
        if(NOT "${PROJECT_SOURCE_DIR}/${folder}" IN_LIST added)
            continue()
        endif()
        set_source_files_properties("${PROJECT_SOURCE_DIR}/${source}" DIRECTORY "${PROJECT_SOURCE_DIR}/${folder}"
            PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    endforeach()
endfunction()
