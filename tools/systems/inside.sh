#!/usr/bin/env bash
# tools/systems/inside.sh WHAT TREE ARGUMENT: one check of tools/systems.sh, in the root file system of
# another Debian. TREE is the source tree, which can only be read.
set -euo pipefail

what=$1 tree=$2 argument=$3
cd /tmp

# demo PRESET: every request of the demo is answered.
check_demo() {
    local bin=$tree/build/$1/bin
    "$bin/zefhost" --settings "$tree/examples/settings.json" --show-log run "$tree/examples/demo.jsonl"
    "$bin/zef_minimal_host" "$tree/build/$1/lib/libzelectronframework.so"
}

# boundary PRESET
check_boundary() {
    local test
    for test in lifecycle calls account events meeting services; do
        "$tree/build/$1/bin/tst_$test"
    done
}

# npm NODE: the package as it is installed, with its own tests of calls, events and life cycle.
check_npm() {
    local node=$1 test
    [[ $(uname -m) == x86_64 ]] || export ZEF_EMULATED=1
    tar -xzf "$tree"/build/package/zelectronframework-[0-9]*.tgz
    cp -r "$tree/node/test" package/
    cd package
    "$node" bin/zelectronframework.cjs doctor --mock
    for test in calls events lifecycle; do
        "$node" --expose-gc --test-reporter=tap --test "test/$test.test.cjs"
    done
}

# deb ARCHITECTURE: the installed host runs the demo with the mock beside the installed library.
check_deb() {
    local packages=("$tree"/build/package/*_"$1".deb) mock=(libvemolog.so libzaccount{lite,keeper}.so)
    local preset=portable left
    [[ $1 == amd64 ]] || preset=portable-$1
    apt-get -qq update
    apt-get -qq -y install "${packages[@]}"
    (cd "$tree/build/$preset/lib" && cp "${mock[@]}" /usr/lib)
    zefhost --settings "$tree/examples/settings.json" run "$tree/examples/demo.jsonl"
    (cd /usr/lib && rm "${mock[@]}")
    test -f /usr/include/zelectronframework/zelectronframework.h
    apt-get -qq -y remove zelectronframework zefhost
    left=$(find /usr /etc /var/lib/dpkg/info -name '*zelectronframework*' -o -name '*zefhost*')
    [[ -z $left ]] || {
        printf 'left behind: %s\n' "$left"
        return 1
    }
}

# compile ARCHITECTURE: with Qt's headers and a compiler, and nothing else.
check_compile() {
    local package
    apt-get -qq update
    apt-get -qq -y --no-install-recommends install g++ cmake ninja-build qtbase5-dev
    for package in libssl-dev libmbedtls-dev libcli11-dev nlohmann-json3-dev libedit-dev; do
        ! dpkg -s "$package" >/dev/null 2>&1 || {
            echo "$package came along: this proves nothing"
            return 1
        }
    done
    cmake -S "$tree" -B alone -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DZEF_BUILD_STANDINS=OFF -DZEF_BUILD_HOST=OFF
    cmake --build alone
    test ! -e alone/bin
    tar -xzf "$tree"/build/package/zelectronframework-*-linux-"$1".tar.gz
    cmake -S "$tree/examples/minimal" -B minimal -G Ninja \
        -DCMAKE_PREFIX_PATH="$(echo /tmp/zelectronframework-*-linux-"$1")"
    cmake --build minimal
    # The account library is missing here, which the host hears of: 1, not 2 for a missing library.
    local status=0
    minimal/minimal || status=$?
    ((status == 1))
}

"check_$what" "$argument"
