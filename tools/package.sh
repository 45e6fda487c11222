#!/usr/bin/env bash
# tools/package.sh [--twice]: packs what ships into build/package/, with checksums, the list of its
# contents and the notices of others; ./dev package calls it. It runs no tests.
#
# With --twice the x86-64 part is built again from a copy of the tree, and every file must be equal.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

readonly out=$PWD/build/package
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
# The files of an archive are as old as the change that they are made from.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

# pack PRESET FOLDER: the archives of one architecture, into FOLDER.
pack() {
    local preset=$1 to=$2 architecture name tree
    architecture=$(architecture_of "$preset")
    name=zelectronframework-$version-linux-$architecture
    tree=build/$preset/packed/$name
    rm -rf "$tree"
    notices "$architecture" >"build/$preset/THIRD-PARTY-NOTICES.txt"
    cmake --install "build/$preset" --strip --component library --prefix "$PWD/$tree"
    cp "build/$preset/THIRD-PARTY-NOTICES.txt" "$tree/"
    tar -C "${tree%/*}" --sort=name --owner=0 --group=0 --numeric-owner --mode=go=rX \
        --mtime="@$SOURCE_DATE_EPOCH" -c "$name" | gzip -n >"$to/$name.tar.gz"
    # cpack keeps the time of each file, and gives folders the present one.
    (cd "build/$preset" && umask 022 && cpack -G DEB -B "$PWD/packed" >/dev/null)
    mv "build/$preset/packed/"*.deb "$to/"
}

pack_npm() {
    local preset
    rm -rf node/prebuilds node/mock
    for preset; do
        install_node "$preset" node
    done
    (cd node && npm pack --ignore-scripts --pack-destination "$out")
}

make_everything() {
    local preset
    mkdir -p "$out"
    for preset; do
        build_shipped "$preset"
        quietly "Packing $preset" pack "$preset" "$out"
    done
}

# The same tree in another folder; nothing that was compiled here is used.
build_again() {
    local copy preset=portable file name
    copy=$(mktemp -d "${TMPDIR:-/tmp}/zelectronframework-again-XXXXXX")
    git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$copy"
    git -C "$copy" init -q
    cp -a node/node_modules "$copy/node/"
    (
        cd "$copy"
        export CCACHE_DISABLE=1
        build_shipped "$preset"
        mkdir packed
        pack "$preset" packed
        install_node "$preset" node >/dev/null
    )
    for file in "$copy"/packed/* "$copy"/node/{prebuilds,mock}/*/*; do
        name=${file#"$copy"/}
        [[ $name == packed/* ]] && name=$out/${name#packed/}
        cmp "$file" "$name" || die "two builds of $name differ; the other one is kept in $copy"
    done
    rm -rf "$copy"
}

mode=${1:-}
[[ -z $mode || $mode == --twice ]] || die "package knows no option '$mode'"
need_portable
rm -rf "$out"
make_everything "${shipped_presets[@]}"
quietly "Packing the npm package" pack_npm "${shipped_presets[@]}"
inspector/build.sh --pack
quietly "Fetching what lists the contents" \
    npm ci --prefix tools/sbom --omit=optional --ignore-scripts
mapfile -t contents < <(ls "$out"/*.deb "$out"/*.tar.gz "$out"/*.tgz)
node tools/sbom/sbom.mjs "$version" "${contents[@]}" >"$out/zelectronframework-$version.cdx.json"
(cd "$out" && sha256sum -- * >SHA256SUMS)
[[ -z $mode ]] || quietly "Building again from another folder" build_again
say "Packed into build/package"
print_requirements "${shipped_presets[@]}"
(cd "$out" && while read -r sum file; do
    printf '%-48s %9s  %s\n' "$file" "$(stat -c %s "$file")" "$sum"
done <SHA256SUMS)
