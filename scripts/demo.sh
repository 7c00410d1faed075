#!/bin/sh
# Runs a node, a chain of nodes and a graph on sample pictures with the host program of a build folder, and shows what
# came of it.
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

# Size, mean, limits and the two ends of the first row. The header tells rows and columns: 'shape': (270, 360).
figures() {
    size=$(head -c 128 "$1" | tr -d '\0' | sed -n "s/.*'shape': (\([0-9]*\), \([0-9]*\)).*/\2 \1/p")
    elements "$1" | awk -v width="${size% *}" -v height="${size#* }" '
        { sum += $1 }
        NR == 1 || $1 < least { least = $1 }
        NR == 1 || $1 > most { most = $1 }
        NR <= 4 { first = first " " $1 }
        NR > width - 4 && NR <= width { last = last " " $1 }
        END {
            if (NR == 0 || NR != width * height) { exit 1 }
            printf "%d x %d, 8 bits, mean %.3f, least %d, most %d, first row%s ...%s\n",
                   width, height, sum / NR, least, most, first, last
        }'
}

# Width and height of a PNG file, which stand as numbers of 4 bytes behind the first 16.
size() {
    od -An -v -tu4 --endian=big -j16 -N8 "$1" | awk '{ print $1 " x " $2 }'
}

before=$(figures "$output/copy.npy")
after=$(figures "$output/flipped.npy")
echo "before: samples/particles.png: $before"
echo "after:  $output/flipped.png: $after"

vessa run Rotate -i samples/workpiece.png --angle 23 then Extract --offset_y 80 --size_y 160 -o "$output/level.png"
echo "wrote $output/level.png: $(size "$output/level.png")"
vessa pipeline examples/graphs/straighten.json --output "picture=$output/plate.png"
echo "wrote $output/plate.png: $(size "$output/plate.png")"
