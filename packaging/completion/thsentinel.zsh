#compdef thsentinel

# One option at most.
local -a options
options=(
    '-install:print what has to be configured'
    '-uninstall:stop the daemon if it runs'
    '-start:read the settings and start the daemon'
    '-terminate:stop the daemon'
    '-list_config:accepted, and lists nothing'
    '-help:print the options'
    '-version:print the release'
)
(( CURRENT != 2 )) || _describe -o option options
