# shellcheck shell=bash
# What every command of ./dev uses: saying what happens, installing packages, quiet steps.

say() { printf '==> %s\n' "$*"; }
warn() { printf 'dev: %s\n' "$*" >&2; }
die() {
    warn "$*"
    exit 1
}

log_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/log

# quietly WHAT COMMAND...: says WHAT, keeps the output in build/log, shows it when COMMAND fails.
quietly() {
    local what=$1 log status=0
    shift
    mkdir -p "$log_folder"
    log=$log_folder/${what//[^A-Za-z0-9]/-}.log
    say "$what"
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if ((status != 0)); then
        cat "$log"
        warn "failed with exit code $status: $what (the output above is kept in $log)"
    fi
    return "$status"
}

as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        warn "this needs root or sudo: $*"
        return 1
    fi
}

apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -y -qq -o DPkg::Lock::Timeout=600 -o Dpkg::Use-Pty=0 "$@"
}

is_installed() {
    dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# need PACKAGE...: installs the ones that are missing; asks the network for nothing otherwise.
# Nothing that is on the machine is removed to make room.
need() {
    local package missing=()
    for package; do
        is_installed "$package" || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    # A package list that fails to refresh need not be the one that matters: the install decides.
    quietly "Refreshing the package lists" apt_get update || warn "going on with the old lists"
    quietly "Installing ${missing[*]}" \
        apt_get --no-remove --no-install-recommends install "${missing[@]}"
}

# need_program PROGRAM PACKAGE: installs the package unless the machine has the program from anywhere.
need_program() {
    command -v "$1" >/dev/null || need "$2"
}

# need_architecture NAME: lets packages of another architecture be installed beside ours.
need_architecture() {
    dpkg --print-foreign-architectures | grep -qx "$1" && return 0
    quietly "Adding the package architecture $1" as_root dpkg --add-architecture "$1"
}

# debian_mirror: where Debian's packages come from; by default, where apt finds those of the machine.
debian_mirror() {
    local mirror=${ZEF_DEBIAN_MIRROR:-}
    # shellcheck disable=SC2016 # apt fills it in
    [[ $mirror ]] || mirror=$(apt-get indextargets --format '$(REPO_URI)' \
        'Created-By: Packages' 'Origin: Debian' 'Label: Debian' | head -n 1)
    # shellcheck disable=SC2016 # apt fills it in
    [[ $mirror ]] || die "apt names no mirror of Debian: set ZEF_DEBIAN_MIRROR"
    printf '%s\n' "${mirror%/}"
}

need_base() {
    need build-essential cmake ninja-build pkg-config qtbase5-dev libcli11-dev \
        nlohmann-json3-dev libedit-dev libmbedtls-dev
    need_program node nodejs # a test checks signatures with it
}

need_arm64() {
    need_architecture arm64
    need g++-aarch64-linux-gnu qemu-user qtbase5-dev:arm64 libedit-dev:arm64 libmbedtls-dev:arm64
}

# shellcheck disable=SC2034 # used by those who read this
readonly shipped_presets=(portable portable-arm64)

# need_portable: what the presets need that ships.
need_portable() {
    need clang lld llvm cmake ninja-build qtbase5-dev-tools qt5-qmake-bin
    need_program node nodejs
    need_program npm npm
    tools/sysroot.sh amd64
    tools/sysroot.sh arm64
}

architecture_of() { [[ $1 == *arm64 ]] && printf arm64 || printf amd64; }

# build_shipped PRESET: the files of that preset that ship.
build_shipped() {
    [[ -d node/node_modules/node-api-headers ]] ||
        (cd node && quietly "Fetching the npm packages" npm ci --ignore-scripts)
    configure "$1" -DZEF_BUILD_ADDON=ON
    compile "$1" zelectronframework zaccountlite vemolog zelectronframework_node \
        zelectronframework_node_standin zefhost
}

# print_requirements PRESET...: of the shipped files, see tools/requirements.sh.
print_requirements() {
    local preset files=()
    for preset; do
        files+=("build/$preset"/{lib/*.so,node/zelectronframework.node,bin/zefhost})
    done
    tools/requirements.sh "${files[@]}"
}

# configure PRESET [CMAKE ARGUMENT...]
configure() {
    quietly "Configuring $1" cmake --preset "$@"
}

# compile PRESET [TARGET...]: all targets when none is named.
compile() {
    local preset=$1
    shift
    quietly "Building $preset" cmake --build --preset "$preset" -j "$(nproc)" \
        ${1:+--target "$@"} -- --quiet
}

build() {
    configure "$1"
    compile "$1"
}

# run_tests PRESET [CTEST ARGUMENT...]: closes with the number of tests that passed and failed.
run_tests() {
    local preset=$1 folder=$PWD/build/$1 status=0
    shift
    rm -f "$folder/tests.xml"
    say "Testing $preset"
    ctest --preset "$preset" -j "$(nproc)" --output-junit "$folder/tests.xml" "$@" || status=$?
    if grep -qs '<testcase ' "$folder/tests.xml"; then
        count_cases "$folder/Testing/Temporary/LastTest.log"
        count_tests "$folder/tests.xml"
    else
        warn "no test was run"
        ((status)) || status=1
    fi
    return "$status"
}

# count_cases LOG: a test of CTest's is a program, which counts its own cases.
count_cases() {
    local cases
    cases=$(sed -n 's/^Totals: \([0-9]*\) passed, \([0-9]*\) failed.*/\1+\2+/p' "$1" | tr -d '\n')
    say "The test programs ran $((${cases}0)) cases"
}

# count_tests REPORT: the one line that CTest's own report amounts to.
count_tests() {
    local suite total failed skipped
    suite=$(tr '\n\t' '  ' <"$1" | grep -o '<testsuite [^>]*>')
    total=$(attribute tests "$suite")
    failed=$(attribute failures "$suite")
    skipped=$(($(attribute skipped "$suite") + $(attribute disabled "$suite")))
    printf '%d passed, %d failed' $((total - failed - skipped)) "$failed"
    ((skipped == 0)) || printf ', %d skipped' "$skipped"
    printf '\n'
}

attribute() {
    [[ $2 =~ [[:space:]]$1=\"([0-9]+)\" ]] || die "CTest's report has no count of $1"
    printf '%s' "${BASH_REMATCH[1]}"
}

# fetch_node VERSION ARCHITECTURE: the path of that Node.js, from npm where it is not kept yet.
fetch_node() {
    local folder=${XDG_CACHE_HOME:-$HOME/.cache}/zelectronframework/node-$1-$2
    local program=$folder/node_modules/node-linux-$2/bin/node
    if [[ ! -x $program ]]; then
        mkdir -p "$folder"
        quietly "Fetching Node.js $1 for $2" npm install --ignore-scripts --no-save --force \
            --prefix "$folder" "node-linux-$2@$1" >&2
    fi
    printf '%s' "$program"
}

# fetch_libnode: the folder of Debian's Node.js as a library, without its place among the installed
# packages, which the machine's own Node.js may have taken.
fetch_libnode() {
    local folder=${XDG_CACHE_HOME:-$HOME/.cache}/zelectronframework/libnode package debs
    need libglib2.0-dev libuv1-dev libbrotli1 libc-ares2 libnghttp2-14 \
        node-acorn node-cjs-module-lexer node-undici >&2
    debs=(libnode-dev "$(apt-cache depends libnode-dev | sed -n 's/.*Depends: \(libnode[0-9]\)/\1/p')")
    if ! compgen -G "$folder/usr/lib/*/libnode.so" >/dev/null; then
        rm -rf "$folder"
        mkdir -p "$folder"
        (cd "$folder" && apt-get -qq -o APT::Sandbox::User=root download "${debs[@]}") >&2
        for package in "$folder"/*.deb; do
            dpkg -x "$package" "$folder"
        done
    fi
    printf '%s' "$folder"
}

# fetch_lint_packages: what checks the interface and everything that is JavaScript.
fetch_lint_packages() {
    (cd tools/lint && quietly "Fetching the npm packages of lint" npm ci --ignore-scripts)
}

# notices ARCHITECTURE: the licenses of what is linked in, as its Debian packages give them.
notices() {
    local package documents
    documents=$(tools/sysroot.sh --folder "$1")/usr/share/doc
    cat <<'TEXT'
zelectronframework uses the work of others.

Qt 5 (QtCore, QtNetwork) is linked dynamically under the GNU Lesser General Public License, version
3. It is not contained: the system's own copy is loaded, and you may replace it.

Contained are Mbed TLS, in the mock of the account library, and CLI11 and JSON for Modern C++, in
zefhost. Their notices follow.
TEXT
    for package in libmbedtls-dev libcli11-dev nlohmann-json3-dev; do
        printf '\n---- %s\n\n' "$package"
        cat "$documents/$package/copyright"
    done
}

# install_node PRESET FOLDER: what the npm package in FOLDER takes from that preset.
install_node() {
    cmake --install "build/$1" --component node --prefix "$2" --strip
    [[ $1 != portable* ]] || notices "$(architecture_of "$1")" >"$2/THIRD-PARTY-NOTICES.txt"
}
