#!/bin/sh
# Runs a command on the current (virtual) display under openbox, when it is installed, so that
# windows get the frames and placement a desktop gives them; ends openbox afterwards.
#   with-window-manager.sh COMMAND [ARG...]     (exit status: the command's)
wm=""
if command -v openbox >/dev/null 2>&1; then
    openbox --sm-disable >/dev/null 2>&1 &
    wm=$!
    sleep 1
fi
rc=0
"$@" || rc=$?
if [ -n "$wm" ]; then
    kill "$wm" 2>/dev/null
    wait "$wm" 2>/dev/null
fi
exit $rc
