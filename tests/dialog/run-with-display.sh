#!/bin/sh
# Runs a program that needs a display: on a virtual one when none is set.
if [ -z "$DISPLAY" ]; then
    exec xvfb-run -a -s "-screen 0 1024x768x24" "$@"
fi
exec "$@"
