#!/bin/sh
# Mirrors a sample picture with the host program of a build folder, and shows what came of it.
#
#     scripts/demo.sh build
set -eu
export LC_ALL=C # numbers and bytes are read the same everywhere

build=$1
output=$build/demo
mkdir -p "$output"

vessa() {
    echo "$build/bin/vessa $*"
    "$build/bin/vessa" "$@"
}

vessa run Flip -i samples/particles.png -o "$output/flipped.png" --flip_x
# The same once more, and a plain copy, in a format of which the elements are read without any library.
vessa run Flip -i samples/particles.png -o "$output/flipped.npy" --flip_x
vessa run Flip -i samples/particles.png -o "$output/copy.npy"

# The elements of a byte array in NumPy's format, in storage order: a header whose length stands in bytes 8 and 9.
elements() {
    header=$(od -An -tu2 -j8 -N2 "$1")
    od -An -v -tu1 -w1 -j$((10 + header)) "$1"
}

# Rows and columns, as the header tells them.
figures() {
    shape=$(head -c 128 "$1" | tr -d '\0' | sed -n "s/.*'shape': (\([0-9]*\), \([0-9]*\)).*/\2 x \1/p")
    elements "$1" | awk -v shape="$shape" '
        { sum += $1 }
        NR == 1 || $1 < least { least = $1 }
        NR == 1 || $1 > most { most = $1 }
        NR <= 6 { first = first " " $1 }
        END { printf "%s, %d elements, mean %.3f, least %d, most %d, first row:%s ...\n",
                     shape, NR, sum / NR, least, most, first }'
}

echo "before: samples/particles.png: $(figures "$output/copy.npy")"
echo "after:  $output/flipped.png: $(figures "$output/flipped.npy")"
