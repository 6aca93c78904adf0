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

# Builds targets of a preset; says nothing more when they are up to date.
build() { # PRESET [TARGET...]
    local preset=$1
    shift
    configure "$preset"
    say "Building ${*:-everything} ($preset)"
    ninja -C "build/$preset" "$@" | sed -u -e '/^ninja: /d' -e '/Re-checking globbed/d'
}
