/** The release, for tools that look for its mark in the executable. No code reads it. */
[[gnu::used]] static const char TH_STATIC_RELEASE_STR[] = "\n@(#) Tarnhaven_9.1.0.1";
