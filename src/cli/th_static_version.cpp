/** The release as the product's libraries carry it too. No code reads it. */
[[gnu::used]] static const char TH_STATIC_RELEASE_STR[] = "\n@(#) Tarnhaven_9.1.0.1";
