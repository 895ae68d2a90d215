// Files written plain or gzip-compressed and read in either form: the text comes back whole, the
// form follows the name when writing and the first bytes when reading, and damaged compressed data
// is reported with the file's name instead of being read as a shorter text.
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "compressed_file.h"
#include "data_root.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

// Lines unlike each other, so that the compressed form is longer than the buffers.
std::string ManyLines(int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "{\"t\":" + std::to_string(1767225600000LL + 7919LL * i * i) + ",\"kind\":\"light\",\"value\":" +
                std::to_string(i % 997) + "}\n";
    }
    return text;
}

void WriteWhole(const std::string& path, const std::string& text)
{
    OutputFile out(path);
    out << text;
    out.close();
    ASSERT_TRUE(out) << path;
}

// The whole content as InputFile reads it, line by line as the readers do.
std::string ReadWhole(InputFile& in)
{
    std::string text;
    for (std::string line; std::getline(in, line);) {
        text += line;
        if (!in.eof()) {
            text += '\n';
        }
    }
    return text;
}

// Long texts are compared without printing them.
void ExpectSameText(const std::string& actual, const std::string& expected)
{
    EXPECT_TRUE(actual == expected) << actual.size() << " bytes where " << expected.size() << " were expected";
}

void WriteRaw(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

class CompressedFileTest : public testing::Test {
protected:
    std::string PathOf(const std::string& name) const { return folder_.Path() + "/" + name; }
    Emulator::ScopedDataRoot folder_;
};

TEST_F(CompressedFileTest, EveryTextComesBackFromEitherForm)
{
    const std::pair<const char*, std::string> texts[] = {{"empty", ""}, {"one line", "{\"trace\":1}\n"},
        {"no final newline", "a\nb"}, {"gzip's magic bytes inside", std::string("x\x1f\x8b\0\n", 5)},
        {"longer than the buffers", ManyLines(40000)}};
    for (const auto& [what, text] : texts) {
        for (const std::string name : {"plain.jsonl", "packed.jsonl.gz"}) {
            SCOPED_TRACE(std::string(what) + " in " + name);
            const std::string path = PathOf(name);
            WriteWhole(path, text);
            const bool compressed = IsCompressedName(path);
            if (!compressed) {
                ExpectSameText(ReadFile(path), text);
            }
            InputFile in(path);
            ASSERT_TRUE(in.is_open());
            EXPECT_EQ(in.Compressed(), compressed);
            ExpectSameText(ReadWhole(in), text);
            EXPECT_EQ(in.Damage(), "");
        }
    }
}

// The form is read from the content, not the name; the same text gives the same compressed bytes.
TEST_F(CompressedFileTest, FormIsReadFromTheBytesAndCompressionIsRepeatable)
{
    const std::string text = ManyLines(3000);
    WriteWhole(PathOf("a.gz"), text);
    WriteWhole(PathOf("b.gz"), text);
    const std::string packed = ReadFile(PathOf("a.gz"));
    ExpectSameText(packed, ReadFile(PathOf("b.gz")));
    EXPECT_LT(packed.size(), text.size() / 4);
    WriteRaw(PathOf("named-plain.jsonl"), packed);
    WriteRaw(PathOf("named-packed.gz"), text);
    InputFile packedUnderPlainName(PathOf("named-plain.jsonl"));
    InputFile plainUnderPackedName(PathOf("named-packed.gz"));
    EXPECT_TRUE(packedUnderPlainName.Compressed());
    EXPECT_FALSE(plainUnderPackedName.Compressed());
    ExpectSameText(ReadWhole(packedUnderPlainName), text);
    ExpectSameText(ReadWhole(plainUnderPackedName), text);
}

TEST_F(CompressedFileTest, DamagedDataIsNamedAsTruncatedOrCorrupt)
{
    const std::string text = ManyLines(20000);
    WriteWhole(PathOf("whole.gz"), text);
    const std::string packed = ReadFile(PathOf("whole.gz"));
    const auto flipped = [&packed](size_t at) {
        std::string bytes = packed;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
        return bytes;
    };
    struct Case {
        const char* what;
        std::string bytes;
        const char* damage;
    };
    const Case cases[] = {
        {"cut in half", packed.substr(0, packed.size() / 2), "is truncated"},
        {"without its last byte", packed.substr(0, packed.size() - 1), "is truncated"},
        {"its header only", packed.substr(0, 10), "is truncated"},
        {"a byte of the data changed", flipped(packed.size() / 2), "is corrupt"},
        {"its check sum changed", flipped(packed.size() - 6), "is corrupt"},
        {"its length changed", flipped(packed.size() - 2), "is corrupt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = PathOf("damaged.jsonl.gz");
        WriteRaw(path, c.bytes);
        InputFile in(path);
        ReadWhole(in);
        EXPECT_NE(in.Damage().find("'" + path + "' " + c.damage), std::string::npos) << in.Damage();
    }
}

TEST_F(CompressedFileTest, CompressingInPlaceReplacesTheFileOrNamesWhyNot)
{
    const std::string text = ManyLines(500);
    WriteRaw(PathOf("trace.jsonl"), text);
    std::string error;
    ASSERT_TRUE(CompressFileInPlace(PathOf("trace.jsonl"), error)) << error;
    EXPECT_FALSE(std::filesystem::exists(PathOf("trace.jsonl")));
    EXPECT_EQ(StoredFormOf(PathOf("trace.jsonl")), PathOf("trace.jsonl.gz"));
    InputFile in(PathOf("trace.jsonl.gz"));
    EXPECT_TRUE(in.Compressed());
    ExpectSameText(ReadWhole(in), text);

    EXPECT_FALSE(CompressFileInPlace(PathOf("missing.jsonl"), error));
    EXPECT_NE(error.find("missing.jsonl"), std::string::npos) << error;
    EXPECT_FALSE(std::filesystem::exists(PathOf("missing.jsonl.gz")));
    EXPECT_EQ(StoredFormOf(PathOf("missing.jsonl")), PathOf("missing.jsonl"));
}

} // namespace
} // namespace OHOS::Sim
