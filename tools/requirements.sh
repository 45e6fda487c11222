#!/usr/bin/env bash
# tools/requirements.sh FILE...: what each file asks of a system, and how it is hardened. Fails where that is
# more than we promise.
#
# The versions are those that the dynamic linker compares, except Qt's, which are all Qt_5: for each
# function of Qt, Debian's packages name the release that introduced it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

readonly highest_glibc=2.28 highest_glibcxx=3.4.25 highest_cxxabi=1.3.11 highest_qt=5.10
readonly libraries='ld-linux-(x86-64|aarch64)|lib(c|m|dl|pthread|gcc_s|stdc\+\+|Qt5Core|Qt5Network|zaccountkeeper)'
# The Debian packages name what they need, and are for Debian 11 and later.
readonly program_glibcxx=3.4.28 program_libraries='libedit'
failures=0

refuse() {
    warn "$*"
    failures=$((failures + 1))
}

# highest KIND: of the versions of that kind in what readelf said, without the kind.
highest() {
    grep -oE "\b$1_[0-9.]+[0-9]" <<<"$versions" | sed 's/.*_//' | sort -uV | tail -n 1
}

# newest_qt: the release of Qt that introduced the youngest function, and that function.
newest_qt() {
    awk -v OFS=' ' '
        FNR == NR { if (split($1, name, "@") == 2 && name[2] ~ /^Qt_5/) since[name[1]] = $2; next }
        $7 == "UND" && $8 ~ /@Qt_5/ {
            split($8, name, "@")
            version = name[1] in since ? since[name[1]] : "unknown"
            sub(/[~+-].*/, "", version)
            print (name[2] ~ /PRIVATE/ ? "private" : version), name[1]
        }' <(cat "$symbols"/libqt5*) <(printf '%s\n' "$functions") | sort -V | tail -n 1
}

is_above() {
    [[ $1 && $1 != "$2" && $(printf '%s\n' "$1" "$2" | sort -V | tail -n 1) == "$1" ]]
}

# require WHAT TEXT PATTERN: notes WHAT as part of the hardening of $file.
require() {
    if grep -qE "$3" <<<"$2"; then
        hardening+=("$1")
    else
        refuse "$file lacks $1"
    fi
}

check_file() {
    local file=$1 symbols versions functions dynamic segments notes architecture=amd64
    local glibc glibcxx cxxabi qt function library needed hardening=() limit=$highest_glibcxx
    local allowed=$libraries
    versions=$(readelf -VW "$file")
    functions=$(readelf -W --dyn-syms "$file")
    dynamic=$(readelf -dW "$file")
    segments=$(readelf -lW "$file")
    notes=$(readelf -nW "$file" 2>&1)
    [[ $(readelf -hW "$file") == *AArch64* ]] && architecture=arm64
    symbols=$(tools/sysroot.sh --folder "$architecture")/symbols
    [[ $segments == *INTERP* ]] && limit=$program_glibcxx allowed+="|$program_libraries"

    glibc=$(highest GLIBC)
    glibcxx=$(highest GLIBCXX)
    cxxabi=$(highest CXXABI)
    read -r qt function <<<"$(newest_qt)"
    [[ $qt || $dynamic != *libQt5* ]] || die "no function of Qt was found in $file"
    is_above "$glibc" "$highest_glibc" && refuse "$file needs GLIBC_$glibc"
    is_above "$glibcxx" "$limit" && refuse "$file needs GLIBCXX_$glibcxx"
    is_above "$cxxabi" "$highest_cxxabi" && refuse "$file needs CXXABI_$cxxabi"
    is_above "${qt%.*}" "$highest_qt" && refuse "$file needs Qt $qt for $function"

    needed=$(sed -nE 's/.*NEEDED.*\[(.*)\]/\1/p' <<<"$dynamic")
    for library in $needed; do
        [[ $library =~ ^($allowed)\.so(\.[0-9]+)*$ ]] || refuse "$file needs $library"
    done

    require RELRO "$segments" GNU_RELRO
    require BIND_NOW "$dynamic" BIND_NOW
    require NX "$segments" 'GNU_STACK .* RW '
    require "stack protector" "$functions" __stack_chk_fail
    [[ $dynamic != *TEXTREL* ]] || refuse "$file writes to its code when it is loaded"
    [[ $functions =~ _chk@GLIBC ]] && hardening+=(FORTIFY)
    # The compiler's instructions alone switch nothing on: every object has to be marked.
    grep -qE 'IBT|SHSTK' <<<"$notes" && hardening+=(CET)
    grep -qE 'BTI|PAC' <<<"$notes" && hardening+=(BTI)

    printf '%-7s %-30s %-7s %-7s %-7s %-7s %s\n' "$architecture" "${file##*/}" "${glibc:--}" \
        "${glibcxx:--}" "${cxxabi:--}" "${qt:--}" "${hardening[*]}"
    printf '        needs %s\n' "${needed//$'\n'/ }"
}

printf '%-7s %-30s %-7s %-7s %-7s %-7s %s\n' "" file GLIBC GLIBCXX CXXABI Qt hardening
for file; do
    check_file "$file"
done
grep -qF "glibc: '$highest_glibc', libstdcxx: '$highest_glibcxx', qt: '$highest_qt'" \
    node/lib/loadfailure.cjs || refuse "the doctor of the npm package names other versions"
printf 'Promised at most%-22s %-7s %-7s %-7s %-7s\n' "" "$highest_glibc" "$highest_glibcxx" \
    "$highest_cxxabi" "$highest_qt"
((failures == 0))
