#pragma once

/** What identification tools look for in a file, then product and release. CMakeLists.txt has the release. */
#define RELEASE_MARK "\n@(#) Tarnhaven_" THSENTINEL_VERSION
