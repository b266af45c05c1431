// Strip images for the engine tests on the shared writer: the directory first and the strips
// last, so that cutting the file short loses pixels, not tags; and a file opened by the engine.
#pragma once
#include "SidIO.h"
#include "support/TiffWriter.h"

#include "lti/MrSIDImageReader.h"

#include <string>

namespace sidtest {

using testsupport::Bytes;

class StripTiff {
public:
    StripTiff(uint32_t width, uint32_t height, uint16_t samples, uint16_t bits,
              uint16_t photometric, uint32_t rowsPerStrip, bool bigEndian = false)
        : writer_(bigEndian), big_(bigEndian) {
        using namespace testsupport;
        writer_.SetDataLast(true);
        Directory &d = writer_.AddDirectory();
        writer_.AddUInts(d, 256, kLong, {width});
        writer_.AddUInts(d, 257, kLong, {height});
        writer_.AddUInts(d, 258, kShort, std::vector<uint64_t>(samples, bits));
        writer_.AddUInts(d, 262, kShort, {photometric});
        writer_.AddUInts(d, 277, kShort, {samples});
        writer_.AddUInts(d, 278, kLong, {rowsPerStrip});
    }
    StripTiff &Short(uint16_t tag, const std::vector<uint64_t> &values) {
        writer_.SetUInts(writer_.Dir(0), tag, testsupport::kShort, values);
        return *this;
    }
    StripTiff &Double(uint16_t tag, const std::vector<double> &values) {
        writer_.AddDoubles(writer_.Dir(0), tag, values);
        return *this;
    }
    StripTiff &Ascii(uint16_t tag, const std::string &text) {
        writer_.AddAscii(writer_.Dir(0), tag, text);
        return *this;
    }
    // Strip data as stored (compressed, in the file's byte order).
    StripTiff &Strip(Bytes bytes) {
        strips_.push_back(std::move(bytes));
        return *this;
    }
    // A value in the file's byte order.
    void Put(Bytes &out, uint64_t v, int size) const {
        for (int i = 0; i < size; ++i)
            out.push_back(
                static_cast<unsigned char>(big_ ? v >> (8 * (size - 1 - i)) : v >> (8 * i)));
    }
    Bytes Build() const {
        testsupport::TiffWriter writer = writer_;
        writer.AddChunks(writer.Dir(0), strips_, false);
        return writer.Build();
    }

private:
    testsupport::TiffWriter writer_;
    bool big_;
    std::vector<Bytes> strips_;
};

// Writes `bytes` to a scratch file; returns its path.
inline std::wstring ScratchFile(const std::string &name, const Bytes &bytes) {
    return testsupport::Wide(testsupport::WriteScratch(name, bytes));
}

// The reader stage of a pipeline on a file; `status` says whether it initialized.
struct OpenReader {
    explicit OpenReader(const std::wstring &path)
        : stream(path, true), reader(LizardTech::MrSIDImageReader::create()),
          status(reader->initialize(&stream, nullptr, LizardTech::MRSID_MEMORY_USAGE_DEFAULT,
                                    LizardTech::MRSID_STREAM_USAGE_CREATE)) {}
    ~OpenReader() { reader->release(); }
    OpenReader(const OpenReader &) = delete;
    OpenReader &operator=(const OpenReader &) = delete;
    SidIO stream;
    LizardTech::MrSIDImageReader *reader;
    LizardTech::LT_STATUS status;
};

} // namespace sidtest
