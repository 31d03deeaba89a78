// hash_bench.cpp: SHA-2 and HMAC compared with OpenSSL without the SHA instructions, which no body of ours
// uses.
//
// OpenSSL reads which instructions it may use when it is loaded. So the program runs itself once for each of
// its tables, with OPENSSL_ia32cap set.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "benchmarks/ratio.h"
#include "tests/encode/sha2_members.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using tonekit::RatioTable;
using tonekit::Sha2Member;

struct Table {
    const char *capabilities;
    const char *title;
    char letter;
    double limit;
    bool anotherMake = false;
};

const Table kTables[] = {
    {":~0x20000000", "tier V beside OpenSSL with everything but its SHA instructions", 'V', 0.97},
    {"~0xffffffff00000000:0", "tier A beside OpenSSL with SSE2 alone", 'A', 0.95},
    {":~0", "tier A beside OpenSSL with all that the processor has", 'A', 0, true},
};

const std::vector<uint8_t> message(256 * 1024, 0x5A);

void PeerSha256(uint32_t size)
{
    SHA256_CTX context;
    uint8_t digest[32];
    SHA256_Init(&context);
    SHA256_Update(&context, message.data(), size);
    SHA256_Final(digest, &context);
}

void PeerSha512(uint32_t size)
{
    SHA512_CTX context;
    uint8_t digest[64];
    SHA512_Init(&context);
    SHA512_Update(&context, message.data(), size);
    SHA512_Final(digest, &context);
}

void PeerHmac(const EVP_MD *hash)
{
    uint8_t mac[64];
    unsigned length;
    HMAC(hash, message.data(), 32, message.data(), 64, mac, &length);
}

template <int bits>
void AddHash(RatioTable &table, const Table &what, void (*peer)(uint32_t))
{
    const Sha2Member<bits> member(what.letter);
    const struct {
        uint32_t size;
        const char *name;
    } sizes[] = {{64, " of 64 bytes"}, {1024, " of 1 KiB"}, {256 * 1024, " of 256 KiB"}};
    for (const auto &size : sizes)
        table.Add(
            member.name + size.name, what.limit,
            [=] {
                uint8_t digest[64];
                member.hash(message.data(), size.size, digest);
            },
            [=] { peer(size.size); });
}

// Compared with OpenSSL, and with the least work: five blocks through the bare transform (four with 128-byte
// blocks).
template <int bits, class Word>
void AddMac(RatioTable &table, const Table &what, const EVP_MD *hash, const char *transformName, int blocks)
{
    const Sha2Member<bits> member(what.letter);
    const auto ours = [=] {
        uint8_t mac[64];
        member.mac(message.data(), 32, message.data(), 64, mac, member.kDigestBytes);
    };
    table.Add("hmac_" + member.name + " of 64 bytes", 2, ours, [=] { PeerHmac(hash); });
    auto *transform = tonekit::Body<void(Word *, const uint8_t *, size_t)>(transformName, what.letter);
    table.Add("hmac_" + member.name + " beside bare transforms", 0, ours, [=] {
        Word state[8] = {};
        for (int block = 0; block < blocks; ++block)
            transform(state, message.data(), 1);
    });
}

int RunTable(const Table &what, int argc, char **argv)
{
    if (!tonekit::ProcessorRuns(what.letter)) {
        std::printf("this processor does not run tier %c\n", what.letter);
        return 0;
    }
    RatioTable table(what.title);
    AddHash<256>(table, what, PeerSha256);
    AddHash<512>(table, what, PeerSha512);
    AddMac<256, uint32_t>(table, what, EVP_sha256(), "Sha256Transform", 5);
    AddMac<512, uint64_t>(table, what, EVP_sha512(), "Sha512Transform", 4);
    return table.Run(argc, argv);
}

int RunItself(const Table &what, char **argv)
{
    const pid_t child = fork();
    if (child == 0) {
        setenv("OPENSSL_ia32cap", what.capabilities, 1);
        execv("/proc/self/exe", argv);
        _exit(127);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const char *capabilities = std::getenv("OPENSSL_ia32cap");
    for (const Table &table : kTables)
        if (capabilities && std::strcmp(capabilities, table.capabilities) == 0)
            return RunTable(table, argc, argv);
    int result = 0;
    for (const Table &table : kTables)
        if (result < 2 && table.anotherMake == RatioTable::AsAnotherMake(argc, argv))
            result = std::max(result, RunItself(table, argv));
    return result;
}
