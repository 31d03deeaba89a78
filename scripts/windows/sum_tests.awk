# sum_tests.awk: from the output of `ctest --verbose`, prints all lines of each failure and, in lines that begin with
# "total", how many tests were skipped, passed and failed. A GoogleTest program counts as the tests that it has run.
/^[0-9]+: / {
    number = $1 + 0
    text = $0
    sub(/^[0-9]+: /, "", text)
    output[number] = output[number] text "\n"
    if (text ~ /^Test command: .*--gtest/)
        tells[number] = 1
    if (text ~ /^\[  PASSED  \] [0-9]+ tests?\./) { passed[number] += $5; told[number] = 1 }
    if (text ~ /^\[  SKIPPED \] [0-9]+ tests?[.,]/) { skipped[number] += $5 }
    if (text ~ /^\[==========\] [0-9]+ tests? from .* ran\./) { ran[number] += $3; told[number] = 1 }
}
/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: / {
    match($0, /#[0-9]+/)
    number = substr($0, RSTART + 1, RLENGTH - 1) + 0
    good = $0 ~ / Passed /
    tests++
    # A GoogleTest program that ends well without a summary ended before its tests did.
    if (tells[number] && !told[number])
        good = 0
    if (!told[number] && good)
        passed[number] = 1
    if (told[number])
        failed[number] = ran[number] - passed[number] - skipped[number]
    if (!good && failed[number] == 0)
        failed[number] = 1
    if (!good)
        printf "%s\n%s\n", $0, output[number]
    allPassed += passed[number]
    allFailed += failed[number]
    allSkipped += skipped[number]
}
END {
    if (tests == 0)
        allFailed = 1
    if (allSkipped > 0)
        printf "total %d skipped\n", allSkipped
    printf "total %d passed, %d failed\n", allPassed, allFailed
    exit allFailed > 0
}
