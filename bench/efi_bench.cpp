// Compares EFI decompression with zlib's inflate for the same text: prose, a template's text, batch
// lines.
//
// To count the instructions for one text ("prose", "template", "batch") in each part of the code:
//   valgrind --tool=callgrind --callgrind-out-file=efi.out
//   --toggle-collect='sysipc::efi_decompressor::decompress(std::istream&)'
//   build/bench/bin/efi_bench --once prose
//   callgrind_annotate efi.out platform/posix/efi_decompressor.cpp

#include <zlib.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/generated_batch.hpp"
#include "bench/support/generated_template.hpp"
#include "bench/support/memory_stream.hpp"
#include "bench/support/side_by_side.hpp"
#include "platform/posix/efi_compressor.hpp"
#include "platform/sysipc/efi_decompressor.hpp"

namespace {

constexpr std::size_t text_size = 4'000'000;

// Sentences of a few hundred words, some far more frequent than others.
std::string prose() {
    std::mt19937 random(1);
    std::vector<std::string> words(800);
    for (std::string& word : words) {
        for (auto left = 2 + random() % 8; left != 0; --left) {
            word += "etaoinshrdlucmfwypvbgk"[random() % 22];
        }
    }
    std::string text;
    while (text.size() < text_size) {
        const std::size_t rank = random() % words.size() * (random() % words.size()) / words.size();
        text += words[rank];
        text += random() % 12 == 0 ? ".\n" : " ";
    }
    return text;
}

std::string deflated(const std::string& text) {
    uLongf size = compressBound(text.size());
    std::string out(size, '\0');
    bench::require(compress2(reinterpret_cast<Bytef*>(out.data()), &size,
                             reinterpret_cast<const Bytef*>(text.data()), text.size(),
                             Z_DEFAULT_COMPRESSION) == Z_OK,
                   "zlib does not compress");
    out.resize(size);
    return out;
}

// Allocates the output, like our decompressor.
std::vector<unsigned char> inflated(const std::string& image, std::size_t size) {
    std::vector<unsigned char> out(size);
    uLongf length = size;
    bench::require(uncompress(out.data(), &length, reinterpret_cast<const Bytef*>(image.data()),
                              image.size()) == Z_OK,
                   "zlib does not expand");
    return out;
}

std::vector<unsigned char> expanded(const std::string& image) {
    bench::memory_stream in(image);
    return sysipc::efi_decompressor::decompress(in);
}

void compare(const char* title, const std::string& text, bool once) {
    const std::string efi_image = dp_platform::efi_compress(text);
    const std::string zlib_image = deflated(text);
    const auto is_text = [&](const std::vector<unsigned char>& bytes) {
        return bytes.size() == text.size() &&
               std::memcmp(bytes.data(), text.data(), text.size()) == 0;
    };
    bench::require(is_text(expanded(efi_image)), "efi_decompressor and the text");
    bench::require(is_text(inflated(zlib_image, text.size())), "inflate and the text");
    std::printf("\n%s: %zu bytes; as EFI image %zu, as zlib stream %zu\n", title, text.size(),
                efi_image.size(), zlib_image.size());
    if (once) {
        return;
    }
    bench::side_by_side contest(title, "byte", text.size());
    contest.add("inflate", [&] { bench::keep(inflated(zlib_image, text.size())); });
    contest.add("efi_decompressor", [&] { bench::keep(expanded(efi_image)); });
    contest.add("limit: memcpy",
                [&] { bench::keep(std::vector<unsigned char>(text.begin(), text.end())); });
    contest.expect_within("efi_decompressor", "inflate", 2.5);
    contest.run();
}

}  // namespace

int main(int argc, char** argv) {
    const bool once = argc > 1 && std::string_view(argv[1]) == "--once";
    const std::string_view only = argc > 2 ? argv[2] : "";
    const auto is_wanted = [&](std::string_view title) { return only.empty() || only == title; };
    if (is_wanted("prose")) {
        compare("prose", prose(), once);
    }
    if (is_wanted("template")) {
        compare("template", bench::template_text(bench::generated_template(text_size / 400)), once);
    }
    if (is_wanted("batch")) {
        compare("batch", bench::batch_text(bench::generated_batch(text_size / 70)), once);
    }
    return 0;
}
