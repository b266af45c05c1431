// The OpenJPEG decoder over a window of the pipeline's stream.
#include "Jpeg2000Codec.h"

#include <openjpeg.h>

#include <algorithm>

namespace engines::jpeg2000 {
namespace {

constexpr OPJ_SIZE_T kStreamChunk = 64 * 1024; // small: tile-part headers are read one by one

// The codestream as the codec sees it: bytes [offset, offset + length) of the file.
struct StreamWindow {
    StreamBytes *bytes = nullptr;
    uint64_t offset = 0, length = 0, position = 0;
};

OPJ_SIZE_T ReadWindow(void *buffer, OPJ_SIZE_T size, void *user) {
    auto &w = *static_cast<StreamWindow *>(user);
    if (w.position >= w.length)
        return static_cast<OPJ_SIZE_T>(-1);
    const size_t wanted = static_cast<size_t>(std::min<uint64_t>(size, w.length - w.position));
    const size_t got = w.bytes->readSome(w.offset + w.position, buffer, wanted);
    w.position += got;
    return got == 0 ? static_cast<OPJ_SIZE_T>(-1) : got;
}

OPJ_OFF_T SkipWindow(OPJ_OFF_T size, void *user) {
    auto &w = *static_cast<StreamWindow *>(user);
    if (size < 0 && static_cast<uint64_t>(-size) > w.position)
        return -1;
    if (size > 0 && static_cast<uint64_t>(size) > w.length - w.position) {
        w.position = w.length;
        return -1;
    }
    w.position += size;
    return size;
}

OPJ_BOOL SeekWindow(OPJ_OFF_T position, void *user) {
    auto &w = *static_cast<StreamWindow *>(user);
    if (position < 0 || static_cast<uint64_t>(position) > w.length)
        return OPJ_FALSE;
    w.position = static_cast<uint64_t>(position);
    return OPJ_TRUE;
}

void KeepMessage(const char *message, void *user) {
    auto &text = *static_cast<std::string *>(user);
    std::string line = message ? message : "";
    while (!line.empty() && (line.back() == '\n' || line.back() == ' '))
        line.pop_back();
    if (line.empty() || text.size() > 1024)
        return;
    if (!text.empty())
        text += "; ";
    text += line;
}

void IgnoreMessage(const char *, void *) {}

uint32_t CeilShift(uint32_t v, uint32_t shift) {
    return static_cast<uint32_t>((uint64_t{v} + (uint64_t{1} << shift) - 1) >> shift);
}

} // namespace

struct Jpeg2000Codec::State {
    StreamWindow window;
    opj_stream_t *stream = nullptr;
    opj_codec_t *codec = nullptr;
    opj_image_t *image = nullptr;
    std::string messages;
    uint32_t level = 0;

    ~State() {
        if (image)
            opj_image_destroy(image);
        if (codec)
            opj_destroy_codec(codec);
        if (stream)
            opj_stream_destroy(stream);
    }
};

Jpeg2000Codec::Jpeg2000Codec() = default;
Jpeg2000Codec::~Jpeg2000Codec() = default;

bool Jpeg2000Codec::open(StreamBytes &bytes, uint64_t offset, uint64_t length, int threads) {
    state_ = std::make_unique<State>();
    State &s = *state_;
    s.window = {&bytes, offset, length, 0};
    s.stream = opj_stream_create(kStreamChunk, OPJ_TRUE);
    s.codec = opj_create_decompress(OPJ_CODEC_J2K);
    if (s.stream == nullptr || s.codec == nullptr) {
        error_ = "the JPEG 2000 decoder could not be created";
        return false;
    }
    opj_stream_set_user_data(s.stream, &s.window, nullptr);
    opj_stream_set_user_data_length(s.stream, length);
    opj_stream_set_read_function(s.stream, ReadWindow);
    opj_stream_set_skip_function(s.stream, SkipWindow);
    opj_stream_set_seek_function(s.stream, SeekWindow);
    opj_set_error_handler(s.codec, KeepMessage, &s.messages);
    opj_set_warning_handler(s.codec, IgnoreMessage, nullptr);
    opj_set_info_handler(s.codec, IgnoreMessage, nullptr);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    if (!opj_setup_decoder(s.codec, &parameters)) {
        error_ = "the JPEG 2000 decoder refused its parameters: " + s.messages;
        return false;
    }
    if (threads > 1)
        opj_codec_set_threads(s.codec, threads);
    if (!opj_read_header(s.stream, s.codec, &s.image)) {
        error_ = "the codestream header could not be read: " + s.messages;
        return false;
    }
    return true;
}

bool Jpeg2000Codec::setLevel(uint32_t level) {
    if (state_ == nullptr || state_->image == nullptr) {
        error_ = "the JPEG 2000 decoder is not open";
        return false;
    }
    state_->messages.clear();
    if (!opj_set_decoded_resolution_factor(state_->codec, level)) {
        error_ = "reduction level " + std::to_string(level) + " refused: " + state_->messages;
        return false;
    }
    state_->level = level;
    return true;
}

bool Jpeg2000Codec::collect(DecodedArea &out) {
    const opj_image_t &image = *state_->image;
    out.planes.clear();
    out.x = CeilShift(image.x0, state_->level);
    out.y = CeilShift(image.y0, state_->level);
    out.width = image.numcomps ? image.comps[0].w : 0;
    out.height = image.numcomps ? image.comps[0].h : 0;
    for (OPJ_UINT32 c = 0; c < image.numcomps; ++c) {
        const opj_image_comp_t &comp = image.comps[c];
        if (comp.data == nullptr || comp.w != out.width || comp.h != out.height) {
            error_ = "the decoder returned component " + std::to_string(c) +
                     " without samples or of another size";
            return false;
        }
        out.planes.push_back(comp.data);
    }
    return true;
}

bool Jpeg2000Codec::decodeTile(uint32_t index, uint32_t level, DecodedArea &out) {
    if (!setLevel(level))
        return false;
    if (!opj_get_decoded_tile(state_->codec, state_->stream, state_->image, index)) {
        error_ = "tile " + std::to_string(index) + " could not be decoded: " + state_->messages;
        state_.reset();
        return false;
    }
    return collect(out);
}

bool Jpeg2000Codec::decodeArea(uint32_t x0, uint32_t y0, uint32_t x1, uint32_t y1, uint32_t level,
                               DecodedArea &out) {
    if (!setLevel(level))
        return false;
    State &s = *state_;
    if (!opj_set_decode_area(s.codec, s.image, static_cast<OPJ_INT32>(x0),
                             static_cast<OPJ_INT32>(y0), static_cast<OPJ_INT32>(x1),
                             static_cast<OPJ_INT32>(y1)) ||
        !opj_decode(s.codec, s.stream, s.image)) {
        error_ = "area " + std::to_string(x0) + "," + std::to_string(y0) + " to " +
                 std::to_string(x1) + "," + std::to_string(y1) +
                 " could not be decoded: " + s.messages;
        state_.reset();
        return false;
    }
    return collect(out);
}

} // namespace engines::jpeg2000
