# bill.cmake: writes the SPDX bill of materials: the library, the program and the software by others inside and next to them.

# Sets RESULT to the date of this version in the changelog, so that the same source makes the same bill.
function(tonekit_release_date result)
    file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heading REGEX "^## \\[${PROJECT_VERSION}\\] - ")
    string(REGEX MATCH "[0-9]+-[0-9]+-[0-9]+$" date "${heading}")
    if(NOT date)
        message(FATAL_ERROR "CHANGELOG.md has no date for version ${PROJECT_VERSION}")
    endif()
    set(${result} ${date} PARENT_SCOPE)
endfunction()

# Adds one package and its relationship: OWNER KIND PACKAGE, where KIND is CONTAINS, DEPENDS_ON or DEPENDENCY_OF, or PACKAGE KIND
# OWNER, where it is OPTIONAL_DEPENDENCY_OF. PURL is the package's address in its
# collection. A further argument is the SHA-256 of the source.
function(tonekit_bill_package owner kind name version licence purl)
    set(id SPDXRef-${name})
    string(REPLACE "+" "%2B" purl "${purl}")
    set(checksum "")
    if(ARGN)
        set(checksum ", \"checksums\": [{\"algorithm\": \"SHA256\", \"checksumValue\": \"${ARGN}\"}]")
    endif()
    set_property(GLOBAL APPEND_STRING PROPERTY TONEKIT_BILL_PACKAGES ",
    {\"SPDXID\": \"${id}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\", \"filesAnalyzed\": false,
     \"downloadLocation\": \"NOASSERTION\", \"licenseConcluded\": \"${licence}\", \"licenseDeclared\": \"${licence}\",
     \"copyrightText\": \"NOASSERTION\", \"externalRefs\": [{\"referenceCategory\": \"PACKAGE-MANAGER\",
     \"referenceType\": \"purl\", \"referenceLocator\": \"${purl}\"}]${checksum}}")
    set(from SPDXRef-${owner})
    set(to ${id})
    if(kind STREQUAL "OPTIONAL_DEPENDENCY_OF")
        set(from ${id})
        set(to SPDXRef-${owner})
    endif()
    set_property(GLOBAL APPEND_STRING PROPERTY TONEKIT_BILL_RELATIONS ",
    {\"spdxElementId\": \"${from}\", \"relationshipType\": \"${kind}\", \"relatedSpdxElement\": \"${to}\"}")
endfunction()

# The codec, with the checksum of the crate that the lock file pins.
function(tonekit_bill_codec)
    file(READ ${PROJECT_SOURCE_DIR}/image/codec/Cargo.lock lock)
    string(REGEX MATCH "name = \"mozjpeg-sys\"\nversion = \"([^\"]*)\"[^[]*checksum = \"([^\"]*)\"" row "${lock}")
    tonekit_bill_package(libtonekit CONTAINS mozjpeg-sys ${CMAKE_MATCH_1} "IJG AND BSD-3-Clause"
        "pkg:cargo/mozjpeg-sys@${CMAKE_MATCH_1}" ${CMAKE_MATCH_2})
endfunction()

# What is compiled in on Windows, with the version and the checksum of each tarball.
function(tonekit_bill_windows)
    set(licence_libsoxr "LGPL-2.1-or-later")
    set(licence_libebur128 "MIT AND BSD-3-Clause")
    set(licence_glibc "LGPL-2.1-or-later")
    set(licence_libogg "BSD-3-Clause")
    set(licence_libvorbis "BSD-3-Clause")
    set(licence_flac "BSD-3-Clause")
    set(licence_opus "BSD-3-Clause")
    set(licence_lame "LGPL-2.0-or-later")
    set(licence_mpg123 "LGPL-2.1-only")
    set(licence_libsndfile "LGPL-2.1-or-later")
    set(licence_libspng "BSD-2-Clause")
    set(licence_taglib "LGPL-2.1-only OR MPL-1.1")
    file(STRINGS ${PROJECT_SOURCE_DIR}/scripts/source_packages.txt rows)
    foreach(row IN LISTS rows)
        string(REPLACE " " ";" fields "${row}")
        list(POP_FRONT fields name version tarball checksum)
        if(name STREQUAL "googletest")
            continue()
        endif()
        if(NOT licence_${name})
            message(FATAL_ERROR "cmake/bill.cmake knows no licence of ${name}")
        endif()
        set(owner tonekit-convert)
        if(name MATCHES "^(libsoxr|libebur128|glibc)$")
            set(owner libtonekit)
        endif()
        tonekit_bill_package(${owner} CONTAINS ${name} "${version}" "${licence_${name}}"
            "pkg:deb/debian/${name}@${version}?arch=source" ${checksum})
    endforeach()
    tonekit_bill_headers()
    tonekit_bill_package(tonekit-convert CONTAINS zlib "NOASSERTION" "Zlib" "pkg:deb/debian/libz-mingw-w64-dev")
    foreach(name libstdc++ libgcc)
        tonekit_bill_package(libtonekit DEPENDS_ON ${name} "${CMAKE_CXX_COMPILER_VERSION}"
            "GPL-3.0-or-later WITH GCC-exception-3.1" "pkg:deb/debian/gcc-mingw-w64-x86-64-posix")
    endforeach()
    tonekit_bill_package(libtonekit DEPENDS_ON winpthreads "NOASSERTION" "MIT AND BSD-3-Clause" "pkg:deb/debian/mingw-w64-x86-64-dev")
endfunction()

# Headers alone, compiled in.
function(tonekit_bill_headers)
    if(TARGET tonekit-convert)
        file(STRINGS ${TONEKIT_JSON_HEADERS}/nlohmann/detail/abi_macros.hpp lines
            REGEX "^#define NLOHMANN_JSON_VERSION_(MAJOR|MINOR|PATCH) +[0-9]+")
        list(TRANSFORM lines REPLACE ".*_(MAJOR|MINOR|PATCH) +([0-9]+).*" "\\2")
        list(JOIN lines "." version)
        tonekit_bill_package(tonekit-convert CONTAINS nlohmann-json "${version}" "MIT" "pkg:generic/nlohmann-json@${version}")
        # Its headers don't say their version.
        tonekit_bill_package(tonekit-convert CONTAINS kissfft "NOASSERTION" "BSD-3-Clause" "pkg:deb/debian/libkissfft-dev")
    endif()
endfunction()

# libsoxr, compiled in, with the checksum of its tarball.
function(tonekit_bill_soxr)
    file(STRINGS ${PROJECT_SOURCE_DIR}/scripts/source_packages.txt row REGEX "^libsoxr ")
    string(REPLACE " " ";" fields "${row}")
    list(POP_FRONT fields name version tarball checksum)
    tonekit_bill_package(libtonekit CONTAINS ${name} "${version}" "LGPL-2.1-or-later"
        "pkg:deb/debian/${name}@${version}?arch=source" ${checksum})
endfunction()

# What is linked with on other systems, under the system's own names.
function(tonekit_bill_shared)
    get_property(own_soxr GLOBAL PROPERTY TONEKIT_OWN_SOXR)
    set(soxr "")
    if(own_soxr)
        tonekit_bill_soxr()
    else()
        set(soxr "libtonekit|libsoxr|soxr|LGPL-2.1-or-later")
    endif()
    tonekit_bill_headers()
    foreach(row ${soxr} "libtonekit|libebur128|libebur128|MIT AND BSD-3-Clause"
            "tonekit-convert|libsndfile|sndfile|LGPL-2.1-or-later" "tonekit-convert|taglib|taglib|LGPL-2.1-only OR MPL-1.1"
            "tonekit-convert|libspng|spng|BSD-2-Clause")
        string(REPLACE "|" ";" fields "${row}")
        list(POP_FRONT fields owner name package licence)
        if(owner STREQUAL "libtonekit" OR TARGET ${owner})
            set(version ${TONEKIT_${package}_VERSION})
            tonekit_bill_package(${owner} DEPENDS_ON ${name} "${version}" "${licence}" "pkg:generic/${name}@${version}")
        endif()
    endforeach()
endfunction()

# What the program loads by itself, if it is there.
function(tonekit_bill_loaded)
    get_property(has_libav GLOBAL PROPERTY TONEKIT_HAS_LIBAV)
    if(NOT has_libav OR NOT TARGET tonekit-convert)
        return()
    endif()
    foreach(name libavformat libavcodec libavutil)
        set(version ${TONEKIT_libav_${name}_VERSION})
        tonekit_bill_package(tonekit-convert OPTIONAL_DEPENDENCY_OF ${name} "${version}" "LGPL-2.1-or-later"
            "pkg:generic/${name}@${version}")
    endforeach()
endfunction()

# Writes tonekit.spdx.json.
function(tonekit_write_bill)
    tonekit_release_date(date)
    get_property(has_codec GLOBAL PROPERTY TONEKIT_HAS_CODEC)
    if(has_codec)
        tonekit_bill_codec()
    endif()
    if(TARGET tonekit-convert)
        tonekit_bill_package(libtonekit DEPENDENCY_OF tonekit-convert ${PROJECT_VERSION} "MIT"
            "pkg:generic/tonekit-convert@${PROJECT_VERSION}")
    endif()
    if(WIN32)
        tonekit_bill_windows()
    else()
        tonekit_bill_shared()
        tonekit_bill_loaded()
    endif()
    get_property(packages GLOBAL PROPERTY TONEKIT_BILL_PACKAGES)
    get_property(relations GLOBAL PROPERTY TONEKIT_BILL_RELATIONS)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/tonekit.spdx.json.in ${TONEKIT_GENERATED}/tonekit.spdx.json @ONLY)
endfunction()
