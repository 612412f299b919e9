#include "files/exr_file.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace NoisePreview {

namespace {

/// Lets OpenEXR write to a file of ours.
class CStream final : public Imf::OStream {
public:
    explicit CStream(const COutputFile& file) : OStream("the output"), m_File(file) {}

    void write(const char bytes[], int count) override {
        m_File.Write(bytes, static_cast<size_t>(count));
    }
    uint64_t tellp() override {
        return static_cast<uint64_t>(ftello(m_File.Stream()));
    }
    void seekp(uint64_t position) override {
        if (fseeko(m_File.Stream(), static_cast<off_t>(position), SEEK_SET) != 0) {
            m_File.Fail("it cannot go back to its beginning");
        }
    }

private:
    const COutputFile& m_File;
};

/// Beyond this width a row has a block of its own.
constexpr uint32_t kWide = 65536;

std::vector<std::string> ChannelNames(bool isGradient) {
    return isGradient ? std::vector<std::string>{"gradient.x", "gradient.y", "gradient.z"}
                      : std::vector<std::string>{"Y"};
}

} // namespace

struct CExrState {
    CExrState(const COutputFile& file, uint32_t width, uint32_t height, bool isGradient)
        : m_Stream(file), m_Row(width * ChannelNames(isGradient).size()) {
        const std::vector<std::string> names = ChannelNames(isGradient);
        Imf::Header header(static_cast<int>(width), static_cast<int>(height));
        // Rows are compressed sixteen at a time, and one by one where so many would take much memory.
        header.compression() = width > kWide ? Imf::ZIPS_COMPRESSION : Imf::ZIP_COMPRESSION;
        Imf::FrameBuffer buffer;
        for (size_t k = 0; k < names.size(); ++k) {
            header.channels().insert(names[k], Imf::Channel(Imf::FLOAT));
            // All rows come from the same place.
            buffer.insert(names[k], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(&m_Row[k]),
                                               sizeof(float) * names.size(), 0));
        }
        m_Exr.emplace(m_Stream, header);
        m_Exr->setFrameBuffer(buffer);
    }

    CStream m_Stream;
    std::vector<float> m_Row;
    size_t m_Count = 0; // of the floats of a row that are there
    std::optional<Imf::OutputFile> m_Exr;
};

CExrFile::CExrFile(COutputFile& file, uint32_t width, uint32_t height, bool isGradient)
    : m_File(file), m_State(std::make_unique<CExrState>(file, width, height, isGradient)) {}

CExrFile::~CExrFile() = default;

void CExrFile::Add(std::span<const float> values) {
    std::vector<float>& row = m_State->m_Row;
    while (!values.empty()) {
        const size_t count = std::min(values.size(), row.size() - m_State->m_Count);
        std::copy_n(values.begin(), count, row.begin() + static_cast<std::ptrdiff_t>(m_State->m_Count));
        values = values.subspan(count);
        m_State->m_Count = (m_State->m_Count + count) % row.size();
        if (m_State->m_Count == 0) {
            m_State->m_Exr->writePixels();
        }
    }
}

void CExrFile::Finish() {
    m_State->m_Exr.reset(); // goes back to fill in where the rows are, and keeps what goes wrong to itself
    if (std::ferror(m_File.Stream()) != 0) {
        m_File.Fail("its beginning cannot be completed");
    }
    m_File.Finish();
}

} // namespace NoisePreview
