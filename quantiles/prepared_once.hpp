// quantiles/prepared_once.hpp: a part of a prepared object that is worked out at its first use.
//
// A single quantile needs few of the parts that depend on the parameters alone, an array may need all of
// them. Not for concurrent first uses: an object that several threads share has been asked for every part
// that they can need before they start.
#pragma once

#include <optional>

namespace dru::impl {

template <class Part>
class prepared_once {
public:
    // make() is called once, by the first get.
    template <class Make>
    const Part& get(const Make& make) const {
        if (!part_) part_.emplace(make());
        return *part_;
    }

private:
    mutable std::optional<Part> part_;
};

}  // namespace dru::impl
