#include "sim/view/picture.h"

#include <algorithm>
#include <turbojpeg.h>

namespace sim::view {
namespace {

constexpr int kQuality = 82;

void blacken(Planes &planes)
{
    std::fill(planes.y.begin(), planes.y.end(), std::uint8_t{0});
    std::fill(planes.cb.begin(), planes.cb.end(), std::uint8_t{128});
    std::fill(planes.cr.begin(), planes.cr.end(), std::uint8_t{128});
}

} // namespace

struct Picture::Encoder {
    Encoder() : handle(tjInitCompress()), bytes(tjBufSize(kWidth, kHeight, TJSAMP_420)) {}
    ~Encoder() { tjDestroy(handle); }
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;

    tjhandle handle;
    std::vector<std::uint8_t> bytes;
};

Picture::Picture() : encoder_(std::make_unique<Encoder>())
{
    blacken(planes_);
}

Picture::~Picture() = default;

const Planes &Picture::draw(const Look &look)
{
    if (!look.video) {
        blacken(planes_);
        return planes_;
    }
    tone_.set(look);
    lens_.see(look, tone_, planes_);
    const Plane bright{planes_.y, kWidth, kHeight};
    const Plane colours[] = {{planes_.cb, kWidth / 2, kHeight / 2}, {planes_.cr, kWidth / 2, kHeight / 2}};
    filters_.blur(bright, look.defocus);
    filters_.sharpen(bright, look.sharpen);
    filters_.add_noise(bright, look.noise, ++drawn_);
    for (const Plane &plane : colours) {
        filters_.blur(plane, look.defocus / 2);
        if (!look.grey)
            filters_.add_noise(plane, look.noise * 0.4 * look.chroma, ++drawn_);
    }
    return planes_;
}

std::span<const std::uint8_t> Picture::jpeg()
{
    Encoder &encoder = *encoder_;
    const unsigned char *planes[] = {planes_.y.data(), planes_.cb.data(), planes_.cr.data()};
    unsigned char *bytes = encoder.bytes.data();
    unsigned long size = encoder.bytes.size();
    if (tjCompressFromYUVPlanes(encoder.handle, planes, kWidth, nullptr, kHeight, TJSAMP_420, &bytes, &size, kQuality,
                                TJFLAG_NOREALLOC | TJFLAG_FASTDCT) != 0)
        return {};
    return std::span(encoder.bytes).first(size);
}

} // namespace sim::view
