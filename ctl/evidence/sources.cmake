# The plan of readings is the daemon's own: a few lines of arithmetic that depend on nothing.
target_sources(thsentinelctl_core PRIVATE ${PROJECT_SOURCE_DIR}/src/config/ReadingPlan.cpp)
