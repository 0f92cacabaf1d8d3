#!/usr/bin/env bash
# What qal is for, on real input. Usage: demo.sh TOOL, in the source tree.
set -euo pipefail

qal=$1
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

say() { printf '%s\n' "$*"; }
heading() { printf '\n%s\n' "$*"; }

# seconds COMMAND...: how long it took, its output in $work/out
seconds() {
    local begin end
    begin=$(date +%s%N)
    "$@" >"$work/out"
    end=$(date +%s%N)
    awk -v ns=$((end - begin)) 'BEGIN { printf "%.3f", ns / 1e9 }'
}

throughput() { # MEBIBYTES SECONDS
    awk -v mib="$1" -v s="$2" 'BEGIN { printf "%.0f MiB/s", mib / s }'
}

# The same hash by another implementation, when it is there; otherwise nothing is claimed.
peer_digest() { # ALGORITHM FILE
    openssl dgst -engine gost -r -"$1" "$2" 2>/dev/null | cut -d' ' -f1
}

say "$("$qal" --version)"

heading "Streebog (GOST R 34.11-2012)"
find . -path ./build -prune -o -path ./.git -prune -o -type f -print0 | sort -z >"$work/files"
count=$(tr -dc '\0' <"$work/files" | wc -c)
for size in 512 256; do
    xargs -0 "$qal" digest -a streebog-$size --tag -- <"$work/files" >"$work/list-$size"
    say "  this project's $count files, streebog-$size: $(wc -l <"$work/list-$size") digests, such as"
    say "    $(grep -F '(./README.md)' "$work/list-$size")"
done
"$qal" digest --check --quiet "$work/list-512" "$work/list-256"
say "  both lists checked again with --check: every file OK"

mib=256
head -c $((mib << 20)) /dev/urandom >"$work/large"
for size in 512 256; do
    time=$(seconds "$qal" digest -a streebog-$size "$work/large")
    ours=$(cut -d' ' -f1 "$work/out")
    line="  a file of $mib MiB, streebog-$size: $time s, $(throughput $mib "$time")"
    if theirs=$(peer_digest md_gost12_$size "$work/large") && [[ -n $theirs ]]; then
        [[ $ours == "$theirs" ]] || {
            say "$line; OpenSSL's GOST engine disagrees: $theirs" >&2
            exit 1
        }
        line+="; OpenSSL's GOST engine agrees"
    fi
    say "$line"
done

printf 'x' | dd of="$work/large" bs=1 seek=12345678 conv=notrunc status=none
printf '%s  %s\n' "$ours" "$work/large" >"$work/list"
if "$qal" digest -a streebog-256 --check --status "$work/list"; then
    say "  a changed byte in it went unnoticed" >&2
    exit 1
fi
say "  one byte of it changed: --check reports it"

heading "Ciphers (GOST 28147-89, Kuznyechik) and MAC"
hexadecimal() { head -c "$1" /dev/urandom | od -An -tx1 | tr -d ' \n'; }
hexadecimal 32 >"$work/key"
hexadecimal 8 >"$work/iv"
for mode in gost28147-gamma gost28147-cfb kuznyechik-ctr; do
    secrets=(--key-file "$work/key" --iv-file "$work/iv")
    there=$(seconds "$qal" cipher -a $mode -e "${secrets[@]}" -o "$work/cipher" "$work/large")
    back=$(seconds "$qal" cipher -a $mode -d "${secrets[@]}" -o "$work/plain" "$work/cipher")
    cmp "$work/large" "$work/plain"
    line="  $mode: $mib MiB there in $there s, $(throughput $mib "$there"), and back in $back s"
    if [[ $mode == kuznyechik-ctr ]] &&
        openssl enc -engine gost -kuznyechik-ctr -K "$(cat "$work/key")" -iv "$(cat "$work/iv")" \
            -in "$work/large" -out "$work/plain" 2>/dev/null; then
        cmp "$work/cipher" "$work/plain"
        line+="; OpenSSL's GOST engine agrees"
    fi
    say "$line"
done

code=$("$qal" mac -a gost28147 --key-file "$work/key" "$work/large" | cut -d' ' -f1)
"$qal" mac -a gost28147 --key-file "$work/key" --verify "$code" "$work/large" >/dev/null
printf 'y' | dd of="$work/large" bs=1 seek=87654321 conv=notrunc status=none
if "$qal" mac -a gost28147 --key-file "$work/key" --verify "$code" "$work/large" >/dev/null; then
    say "  a changed byte went past the MAC" >&2
    exit 1
fi
say "  gost28147 MAC of it: $code; it does not hold any more after one byte has changed"

heading "RSA"
time=$(seconds "$qal" rsa genkey -b 2048 --pem -o "$work/private.pem")
"$qal" rsa pubkey -k "$work/private.pem" --pem -o "$work/public.pem"
# A digest with the padding of PKCS #1, version 1.5, which qal leaves to its caller: 00 01 ff .. 00,
# the name of SHA-256, the digest.
{
    printf '\000\001'
    head -c 202 /dev/zero | tr '\000' '\377'
    printf '\000\060\061\060\015\006\011\140\206\110\001\145\003\004\002\001\005\000\004\040'
    openssl dgst -sha256 -binary README.md
} >"$work/message"
"$qal" rsa sign -k "$work/private.pem" -o "$work/signature" "$work/message"
"$qal" rsa verify -k "$work/public.pem" -s "$work/signature" "$work/message" >/dev/null
openssl rsa -RSAPublicKey_in -in "$work/public.pem" -pubout -out "$work/spki.pem" 2>/dev/null
openssl dgst -sha256 -verify "$work/spki.pem" -signature "$work/signature" README.md >/dev/null
say "  a key of 2048 bits made in $time s; openssl verifies what it signed"
"$qal" rsa encrypt -k "$work/public.pem" -o "$work/cipher" "$work/message"
"$qal" rsa decrypt -k "$work/private.pem" "$work/cipher" | cmp - "$work/message"
say "  encrypted with the public key, and back with the private one"

heading "GOST R 34.11-94"
time=$(seconds "$qal" digest -a gost94 --tag "$work/plain")
say "  $mib MiB in $time s, $(throughput $mib "$time"): $(sed 's/.*= //' "$work/out")"

heading "Signatures and key agreement (GOST R 34.10-2001)"
there=$("$qal" gost genkey --pem | tee "$work/key.pem" | wc -l)
"$qal" gost pubkey --pem --key-file "$work/key.pem" -o "$work/pubkey.pem"
say "  a key pair: PKCS#8 in $there lines of PEM, and its public key"
time=$(seconds "$qal" gost sign --key-file "$work/key.pem" -o "$work/signature" "$work/plain")
"$qal" gost verify --pubkey-file "$work/pubkey.pem" --signature-file "$work/signature" "$work/plain" >"$work/out"
line="  a file of $mib MiB signed in $time s; the signature is valid"
if openssl engine gost >"$work/out" 2>&1; then
    openssl dgst -engine gost -md_gost94 -verify "$work/pubkey.pem" -signature "$work/signature" \
        "$work/plain" >"$work/out" 2>&1
    openssl dgst -engine gost -md_gost94 -sign "$work/key.pem" -out "$work/theirs" README.md 2>"$work/out"
    "$qal" gost verify --pubkey-file "$work/pubkey.pem" --signature-file "$work/theirs" README.md >"$work/out"
    line+=", for OpenSSL's GOST engine as well, and so is one that it made"
fi
say "$line"
printf 'z' | dd of="$work/plain" bs=1 seek=4711 conv=notrunc status=none
if "$qal" gost verify --pubkey-file "$work/pubkey.pem" --signature-file "$work/signature" "$work/plain" >"$work/out"; then
    say "  a changed byte went past the signature" >&2
    exit 1
fi
say "  one byte of the file changed: the signature is not valid any more"
"$qal" gost genkey --pem -o "$work/peer.pem"
"$qal" gost pubkey --pem --key-file "$work/peer.pem" -o "$work/peer-pubkey.pem"
ukm=$(hexadecimal 8)
"$qal" gost kek --key-file "$work/key.pem" --pubkey-file "$work/peer-pubkey.pem" --ukm "$ukm" -o "$work/kek-1"
"$qal" gost kek --key-file "$work/peer.pem" --pubkey-file "$work/pubkey.pem" --ukm "$ukm" -o "$work/kek-2"
cmp "$work/kek-1" "$work/kek-2"
say "  two parties agree on the same key encryption key"

heading "DSTU 4145-2002"
for curve in m163 m191 m257 m431; do
    for party in alice bob; do
        "$qal" dstu genkey -c $curve --force -o "$work/$party" >"$work/$party.pub"
    done
    alice=$(cat "$work/alice.pub") bob=$(cat "$work/bob.pub")
    time=$(seconds "$qal" dstu sign -c $curve --key-file "$work/alice" "$work/large")
    signature=$(cut -d' ' -f1 "$work/out")
    "$qal" dstu verify -c $curve --public "$alice" --signature "$signature" "$work/large" >/dev/null
    if "$qal" dstu verify -c $curve --public "$bob" --signature "$signature" "$work/large" >/dev/null; then
        say "  $curve: another key's signature is taken for good" >&2
        exit 1
    fi
    [[ $("$qal" dstu derive -c $curve --key-file "$work/alice" --peer "$bob") == \
        $("$qal" dstu derive -c $curve --key-file "$work/bob" --peer "$alice") ]] || {
        say "  $curve: the two parties derive different secrets" >&2
        exit 1
    }
    say "  $curve: $mib MiB signed in $time s, hash included; the signature holds with its key and no"
    say "    other, and two parties derive the same secret"
done
