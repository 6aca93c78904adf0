#include <tests/support/log_capture.h>

#include <qel/imaging/pixels/file_signature.h>
#include <qel/imaging/pixels/qr_code_generator.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

using namespace qel;
using namespace qel::util;
using namespace std::string_literals;

namespace {

struct Signature {
    FileType type;
    std::string bytes;
};

const Signature kSignatures[] = {
    {FileType::Dicom, std::string(128, 'x') + "DICM"},
    {FileType::Jpeg, "\xFF\xD8\xFF\xE0\x12\x34JFIF\0"s},
    {FileType::Png, "\x89PNG\r\n\x1A\n"s},
    {FileType::Bmp, "BM"s},
    {FileType::Pdf, "%PDF-"s},
    {FileType::Zip, "PK\x03\x04"s},
};

FileType typeOf(const std::string& bytes) {
    std::istringstream stream(bytes);
    return detectFileType(stream);
}

} // namespace

TEST(FileSignature, EachKindIsFoundByItsFirstBytes) {
    for (const Signature& signature : kSignatures) {
        EXPECT_EQ(typeOf(signature.bytes), signature.type);
        EXPECT_EQ(typeOf(signature.bytes + "more"), signature.type);
    }
    EXPECT_EQ(typeOf("BM" + std::string(126, '\0') + "DICM"), FileType::Dicom)
        << "it comes before all others";
}

TEST(FileSignature, ShorterAndOtherFilesAreUnknown) {
    for (const Signature& signature : kSignatures) {
        for (size_t n = 0; n < signature.bytes.size(); ++n)
            EXPECT_EQ(typeOf(signature.bytes.substr(0, n)), FileType::Unknown) << n;
        for (size_t i = 0; i < signature.bytes.size(); ++i) {
            const bool isFree = (signature.type == FileType::Dicom && i < 128) ||
                                (signature.type == FileType::Jpeg && (i == 4 || i == 5));
            std::string changed = signature.bytes;
            changed[i] = static_cast<char>(changed[i] ^ 0x20);
            EXPECT_EQ(typeOf(changed), isFree ? signature.type : FileType::Unknown) << i;
        }
    }
}

TEST(FileSignature, PositionAndStateAreRestored) {
    std::istringstream stream("xBM");
    stream.get();
    stream.exceptions(std::ios_base::eofbit | std::ios_base::failbit);
    EXPECT_EQ(detectFileType(stream), FileType::Unknown);
    EXPECT_EQ(stream.tellg(), std::streampos(1));
    EXPECT_TRUE(stream.good());
}

TEST(FileSignature, StreamsThatCannotBeReadAnswerNo) {
    std::ifstream folder("/", std::ios_base::binary); // opens, but cannot be read
    EXPECT_EQ(detectFileType(folder), FileType::Unknown);
    EXPECT_EQ(isDicomFileExt(folder), 0);
    EXPECT_FALSE(isSanitizedDicomFile(folder));
}

TEST(DicomPreamble, IsOverwrittenWithZeros) {
    std::stringstream file("MZ" + std::string(126, 'x') + "DICMrest", std::ios_base::in | std::ios_base::out);
    EXPECT_FALSE(isSanitizedDicomFile(file));
    file.seekp(131);
    EXPECT_TRUE(sanitizeDicomFile(file));
    EXPECT_EQ(file.tellp(), std::streampos(131));
    EXPECT_TRUE(isSanitizedDicomFile(file));
    EXPECT_EQ(file.str(), std::string(128, '\0') + "DICMrest");
}

TEST(QRCode, HasTheSizeOfItsSymbolAndItsBorder) {
    const Image plain = QRCodeGenerator::generate("qel", 0), framed = QRCodeGenerator::generate("qel", 3);
    ASSERT_EQ(plain.getImageFormat(), UInt8);
    EXPECT_EQ(plain.getSize(), IVec2<int>(21, 21));
    EXPECT_EQ(framed.getSize(), IVec2<int>(27, 27));
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(plain.getBytePointer()[i], 0) << "the corner begins with a dark bar";
    EXPECT_EQ(framed.getBytePointer(3)[3], 0);
}

TEST(QRCode, RefusesWhatDoesNotFit) {
    const std::string longest(2331, 'a');
    EXPECT_TRUE(QRCodeGenerator::generate(longest.c_str(), 0));
    test::LogCapture log;
    EXPECT_FALSE(QRCodeGenerator::generate((longest + "a").c_str(), 0));
    EXPECT_FALSE(QRCodeGenerator::generate(nullptr, 0));
    EXPECT_FALSE(QRCodeGenerator::generate("qel", 0xFFFFFFFF));
    EXPECT_EQ(log.take().size(), 3u);
}
