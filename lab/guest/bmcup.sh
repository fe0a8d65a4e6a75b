#!/bin/sh
# The update script of a package for the rack model: asks, then writes SDR and firmware with the package's own tools,
# each with its log beside it. Only when both are written are they taken, together, at the next start of the machine.
PATH=/usr/sbin:/usr/bin:$PATH
cd "$(dirname "$0")" || exit 1

printf 'Update SDR and BMC firmware? (Yes/No) '
read -r answer
if [ "$answer" != Yes ]; then
    echo 'Nothing was changed.'
    exit 1
fi

case $(uname -m) in
    x86_64) bits=x64 ;;
    *) bits=x86 ;;
esac

modprobe sg
status=0
(cd "${bits}sdr" && ./sdronup ../kv6000rt.sdr) >"${bits}sdr/sdronup.log" 2>&1 || status=1
(cd "$bits" && ./BmcFlash ../kv6000rt.ima) >"$bits/BmcFlash_log.txt" 2>&1 || status=1
if [ "$status" = 0 ]; then
    "$bits/BmcFlash" -activate || status=1
fi
exit "$status"
