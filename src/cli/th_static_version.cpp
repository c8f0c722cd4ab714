#include "cli/ReleaseMark.h"

/** The release, as the product's libraries have it too. Intentional: no code reads it. */
[[gnu::used]] static const char TH_STATIC_RELEASE_STR[] = RELEASE_MARK;
