# What the scripts of this folder share. Sourced, never run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Source folders of the project, in the order of the layout in README.md.
source_folders=(plugin common registration prices payments runqueue pitlane printing remote host tests bench)

# A bare machine often has no locale but "C", in which Qt cannot spell Cyrillic file names.
case "$(locale charmap 2>/dev/null)" in
UTF-8) ;;
*) export LC_ALL=C.UTF-8 ;;
esac

say() {
    printf '==> %s\n' "$*"
}

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# configure DIR [CMAKE OPTION...]: prepares a build folder. Quick when nothing changed.
configure() {
    local dir=$1 launcher=()
    shift
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    say "Configuring $dir"
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "$@"
}

# build DIR [TARGET...]: builds everything, or the targets named.
build() {
    local dir=$1
    shift
    say "Building $dir on $(nproc) cores (a few minutes the first time)"
    cmake --build "$dir" --parallel "$(nproc)" ${1:+--target "$@"}
}
