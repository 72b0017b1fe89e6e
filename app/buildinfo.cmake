# Run at build time: writes buildinfo.h naming the commit the program is built from. The file
# is rewritten only when its text changes, so an unchanged tree rebuilds nothing.
execute_process(COMMAND git -C "${SOURCE_DIR}" log -1 --format=%cd --date=format:%Y%m%d
                OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE date_result)
execute_process(COMMAND git -C "${SOURCE_DIR}" rev-parse --short=7 HEAD
                OUTPUT_VARIABLE revision OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE revision_result)
if(NOT date_result EQUAL 0 OR date STREQUAL "")
    set(date "0")
endif()
if(NOT revision_result EQUAL 0 OR revision STREQUAL "")
    set(revision "local")
endif()
file(CONFIGURE OUTPUT "${OUTPUT}" CONTENT
"#pragma once
#define ORRERY_VERSION_MAJOR ${VERSION_MAJOR}
#define ORRERY_VERSION_MINOR ${VERSION_MINOR}
#define ORRERY_VERSION_PATCH ${VERSION_PATCH}
#define ORRERY_BUILD_DATE \"${date}\"
#define ORRERY_BUILD_REVISION \"${revision}\"
")
