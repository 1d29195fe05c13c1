# Shared by the scripts of this folder: where the project is, and how it gets what it needs.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# What ccache must overlook to keep what is compiled with precompiled headers.
export CCACHE_SLOPPINESS=pch_defines,time_macros

# install_packages NAME...: installs the Debian packages that are missing, and nothing else.
install_packages() {
    local missing=() package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        >/dev/null
}

build_packages=(g++ cmake ninja-build ccache libreadline-dev nlohmann-json3-dev)
test_packages=(libgtest-dev libgmock-dev librapidcheck-dev liblua5.4-dev clang-format-14 pkg-config binutils
               man-db groff-base zsh fish python3 python3-jsonschema neovim)
tidy_packages=(clang-tidy-14)
clang_packages=(clang libclang-rt-14-dev)
bench_packages=(libbenchmark-dev libluajit-5.1-dev liblua5.4-dev libmuparser-dev libsimdjson-dev rapidjson-dev
                libprotobuf-dev protobuf-compiler pkg-config python3 valgrind
                jq luajit lua5.4 mawk)
docs_packages=(chromium chromium-driver doxygen mkdocs mkdocs-material python3-railroad-diagrams python3-selenium)
picture_packages=(python3 python3-pexpect termtosvg)
abi_packages=(abigail-tools xz-utils)
vsix_packages=(nodejs npm)
try_packages=(chromium chromium-driver g++ make python3 python3-selenium)
package_packages=(dpkg-dev file gzip lintian mmdebstrap)
matrix_packages=(clang-14 clang-19)
arm64_packages=(g++-aarch64-linux-gnu qemu-user)
peer_packages=(clang-19 libc++-19-dev libc++abi-19-dev)
mutate_packages=(libclang1-14 python3-clang-14)

# debian_sources: the file that says where this system's packages come from.
debian_sources() {
    [ -s /etc/apt/sources.list ] && echo /etc/apt/sources.list || echo /etc/apt/sources.list.d/debian.sources
}

# build PRESET [TARGET...]: configures and builds build/PRESET, quietly unless it fails.
build() {
    local preset=$1 log
    shift
    mkdir -p "build/$preset"
    log="build/$preset/build.log"
    local options=()
    [ -z "${KELM_CMAKE_OPTIONS:-}" ] || read -ra options <<<"$KELM_CMAKE_OPTIONS"
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    echo "Building $preset"
    if ! { cmake --preset "$preset" "${options[@]}" && cmake --build --preset "$preset" "${targets[@]}"; } >"$log" 2>&1; then
        grep -E -A12 'error:|^FAILED|CMake Error' "$log" | head -n 80 || tail -n 40 "$log"
        echo "The whole log: $log"
        return 1
    fi
}
