#!/bin/sh
# /usr/sbin/vm1905. The daemon runs "vm1905 restart" for /tmp/vm1905_restart: procd must start the next
# one, else it would start another beside it.
if [ "${1-}" = restart ]; then
	exec /etc/init.d/vm1905 restart
fi
exec /usr/libexec/vm1905/vm1905 "$@"
