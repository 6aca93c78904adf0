# To be sourced from the root of the tree: the common part of all scripts that build.

# Lets ccache find compiled files wherever the tree is located.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

say() { printf '== %s\n' "$*"; }

# Configures a preset unless that has been done; ninja configures it again when the build files change.
configure() { # PRESET [CMAKE OPTION...]
    [ -f "build/$1/build.ninja" ] && [ $# = 1 ] && return
    say "Configuring the $1 build"
    cmake --preset "$@" >/dev/null
}

# Builds targets of a preset; prints nothing more if they are up to date.
build() { # PRESET [TARGET...]
    local preset=$1
    shift
    configure "$preset"
    say "Building ${*:-everything} ($preset)"
    ninja -C "build/$preset" "$@" | sed -u -e '/^ninja: /d' -e '/Re-checking globbed/d'
}
