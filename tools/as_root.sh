# To be sourced by the scripts that install packages.

# Runs a command that changes the machine, as root or through sudo.
as_root() {
    if [ "$(id -u)" = 0 ]; then
        DEBIAN_FRONTEND=noninteractive "$@"
    elif command -v sudo >/dev/null; then
        sudo DEBIAN_FRONTEND=noninteractive "$@"
    else
        echo "this needs root or sudo: $*" >&2
        return 1
    fi
}

# Runs a command and shows its output only if it failed.
quietly() {
    local output
    output=$("$@" 2>&1) || { echo "$output" >&2; return 1; }
}
