# For sourcing, from the root of the tree: what every script that builds has in common.

# Compiled files are found again wherever the tree lies.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

say() { printf '== %s\n' "$*"; }

# Configures a preset where that hasn't been done yet; ninja does it again when the build files change.
configure() { # PRESET [CMAKE OPTION...]
    [ -f "build/$1/build.ninja" ] && [ $# = 1 ] && return
    say "Configuring the $1 build"
    cmake --preset "$@" >/dev/null
}

# Builds targets of a preset; says nothing when they are up to date.
build() { # PRESET [TARGET...]
    local preset=$1
    shift
    configure "$preset"
    ninja -C "build/$preset" -n "$@" 2>/dev/null | grep -q 'no work to do' && return
    say "Building the $preset build"
    ninja -C "build/$preset" "$@"
}
