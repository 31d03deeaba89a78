// bodies.h: the library's functions that a higher body speeds up, and which of their bodies the program
// calls.
#pragma once

#include <string>
#include <tonekit/convert.h>
#include <tonekit/encode.h>
#include <tonekit/hdcd.h>

namespace tonekit::host {

// The functions by their own names. All bodies of a function return the same bits, so an object that one body
// made may be passed to another.
struct Bodies {
    decltype(&::SRC4_Init) SRC4_Init;
    decltype(&::SRC4_Read) SRC4_Read;
    decltype(&::hdcd_scan16) hdcd_scan16;
    decltype(&::sha256_init) sha256_init;
    decltype(&::sha256_update) sha256_update;
    decltype(&::sha256_final) sha256_final;
    decltype(&::sha512_init) sha512_init;
    decltype(&::sha512_update) sha512_update;
    decltype(&::sha512_final) sha512_final;
};

// The letters of the bodies whose instructions this processor, of whatever make, has, in ascending demand:
// "ALMNPRSV" or the beginning of it.
std::string LettersOfProcessor();

// Which bodies a word asks for, on a processor that has these letters: 'auto' for the last of them, a letter
// for itself, 'plain' for 0, the bodies that the library selected. Throws UsageError, with the end of a
// sentence that begins with the option's name, for any other word.
char BodyLetter(const std::string &word, const std::string &letters);

// From now on BodiesInUse returns the bodies of this letter, which this processor must have, or, with 0,
// those that the library selected. Conversions that run meanwhile may go on with either. Throws Failure if
// the library lacks one.
void UseBodies(char letter);

// The bodies that UseBodies chose last; before that, those of the processor's last letter. The result stays
// as it is until the program ends. From any thread.
const Bodies &BodiesInUse();

} // namespace tonekit::host
