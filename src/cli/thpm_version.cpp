#include "cli/ReleaseMark.h"

/** The release, for tools that look for its mark in the executable. Intentional: no code reads it. */
[[gnu::used]] static const char TH_STATIC_RELEASE_STR[] = RELEASE_MARK;
