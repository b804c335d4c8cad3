# shellcheck shell=dash
# Makes vm1905.conf and platform.conf from the UCI configuration. Part of /etc/init.d/vm1905.
#
# An option is the key in lower case; a list becomes one value. The daemon logs unknown keys and wrong
# values. Only what would change other lines of the files is refused here.

uci_kind='' uci_section='' uci_failed='' uci_interface='' uci_lines='' uci_list='' uci_value=''
uci_daemon='' uci_platform=''
uci_newline='
'

refuse() {
	echo "vm1905: $1; not started" >&2
	logger -t vm1905 -p daemon.err "$1; not started"
	uci_failed=1
}

add_key() { # OPTION VALUE
	local key value=$2 where=$uci_section.$1
	key=$(echo "$1" | tr '[:lower:]' '[:upper:]')
	case $value in
	*[[:cntrl:]]*)
		refuse "$where: line breaks and control characters are not allowed"
		return
		;;
	esac
	case $uci_kind:$1:$value in
	*:*: | vm1905:enabled:* | vm1905:log_level:* | vm1905:role:registrar | vm1905:role:enrollee) ;;
	vm1905:role:*) refuse "$where: must be registrar or enrollee" ;;
	vm1905:*) refuse "$where: unknown option" ;;
	daemon:*[\ \;=]*) refuse "$where: blanks, ; and = are not allowed" ;;
	daemon:*) uci_daemon="$uci_daemon$key = $value$uci_newline" ;;
	*\"*) refuse "$where: quotes are not allowed" ;;
	platform:*) uci_platform="$uci_platform$key = \"$value\"$uci_newline" ;;
	interface:name:*) uci_interface=$value ;;
	interface:*) uci_lines="$uci_lines $key=\"$value\"$uci_newline" ;;
	esac
}

end_list() {
	[ -z "$uci_list" ] || add_key "$uci_list" "$uci_value"
	uci_list=''
}

end_section() {
	local line
	end_list
	[ -n "$uci_lines" ] || return 0
	case $uci_interface in
	'' | *[!A-Za-z0-9_.@-]*) refuse "interface '$uci_interface': not the name of an interface" ;;
	esac
	while read -r line; do
		[ -z "$line" ] || uci_platform="$uci_platform${line%%=*}.$uci_interface = ${line#*=}$uci_newline"
	done <<-END
		$uci_lines
	END
	uci_lines=''
}

# config_load calls these for each section, option and element of a list, and config_cb at the end.
config_cb() { # TYPE NAME
	end_section
	uci_kind=${1-} uci_section=${2-} uci_interface=''
	case $uci_kind in
	'' | vm1905 | daemon | platform | interface) ;;
	*) refuse "section $uci_section: unknown type $uci_kind" ;;
	esac
}

option_cb() { # NAME VALUE
	end_list
	add_key "$@"
}

list_cb() { # NAME VALUE
	local separator=' '
	[ "$uci_kind" = platform ] || separator=,
	if [ "$1" = "$uci_list" ]; then
		uci_value=$uci_value$separator$2
	else
		end_list
		uci_list=$1 uci_value=$2
	fi
}

# Writes a file if its content changes, to spare the flash memory.
store() { # FILE MODE TEXT
	local text="# Made from /etc/config/vm1905 at each start.$uci_newline$3"
	[ "$(cat "$1" 2> /dev/null)" != "${text%"$uci_newline"}" ] || return 0
	(umask 077 && printf %s "$text" > "$1.new") && chmod "$2" "$1.new" && mv "$1.new" "$1"
}

# Loads the configuration and writes both files; changes nothing if a value is refused.
write_configuration() { # FOLDER
	config_load vm1905
	reset_cb
	end_section
	[ -z "$uci_failed" ] || return 1
	mkdir -p "$1"
	store "$1/vm1905.conf" 644 "$uci_daemon" && store "$1/platform.conf" 600 "$uci_platform"
}
