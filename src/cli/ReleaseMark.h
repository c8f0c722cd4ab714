#pragma once

/** What identification tools look for in a file, then product and release. The release comes from CMakeLists.txt. */
#define RELEASE_MARK "\n@(#) Tarnhaven_" THSENTINEL_VERSION
