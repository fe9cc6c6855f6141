// The picture of a look, as a JPEG.
#pragma once

#include "sim/view/filters.h"
#include "sim/view/lens.h"
#include "sim/view/look.h"
#include "sim/view/tone.h"

#include <memory>
#include <span>

namespace sim::view {

class Picture {
  public:
    Picture();
    ~Picture();
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

    // The pixels of a look, until the next call. Whether it is frozen does not matter here.
    const Planes &draw(const Look &look);
    // What was drawn last as a JPEG, until the next call; empty when the library refuses it.
    std::span<const std::uint8_t> jpeg();

  private:
    struct Encoder;
    Planes planes_;
    Lens lens_;
    Tone tone_;
    Filters filters_;
    std::unique_ptr<Encoder> encoder_;
    std::uint32_t drawn_ = 0;
};

} // namespace sim::view
