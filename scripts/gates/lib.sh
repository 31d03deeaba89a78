# lib.sh: what the gates share. A gate is an executable file NN-NAME in this folder. It runs in the root of the tree, prints
# what it likes (shown only if it fails), ends in 0 if all is well, and in 77 with a line that says why if it can't run here.
# Lines "N passed, N failed" are added up; a gate without any counts as one test.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

can_not_run() {
    echo "$*"
    exit 77
}

# The folder of the codec's sources that the first build has fetched, as an argument for CMake, so that no other build asks
# the network again.
codec_sources() {
    local sources
    sources=$(echo "$PWD"/build/codec/vendor/mozjpeg-sys-*/vendor)
    [ ! -e "$sources/jpeglib.h" ] || echo "-DTONEKIT_MOZJPEG_SOURCE=$sources"
}

# The build that the gates of the tests take, for those that run without the first one before them.
build_tests() {
    [ ! -x build/bin/tiers ] || [ ! -x build/bin/tonekit-convert ] || return 0
    scripts/ensure_packages build test recording
    scripts/configure release -DTONEKIT_TESTS=ON
    cmake --build --preset release -j "$(nproc)"
}

# The whole tree by clang, with every warning as an error and under the sanitizers of addresses and undefined behaviour: three
# gates share this build.
build_sanitized() {
    scripts/ensure_packages build test bench quality recording clang
    export ASAN_SYMBOLIZER_PATH=/usr/bin/llvm-symbolizer-14
    local codec
    codec=$(codec_sources)
    scripts/configure asan-clang -DTONEKIT_TESTS=ON -DTONEKIT_BENCHMARKS=ON -DTONEKIT_QUALITY=ON "${codec:--DTONEKIT_CODEC=ON}" \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1" -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g1"
    cmake --build --preset asan-clang -j "$(nproc)"
}

# The commands of the README's blocks under a heading, word for word, without remarks.
readme_commands() {
    awk -v heading="$1" '
        /^```/ { fence = !fence; inside = fence && $0 == "```"; next }
        !fence && /^#+ / { wanted = $0 ~ heading }
        inside && wanted { sub(/ +#.*/, ""); print }' README.md
}

# The README's one block in a language.
readme_block() {
    awk -v start="\`\`\`$1" '$0 == start { inside = 1; next } /^```/ { inside = 0 } inside' README.md
}
