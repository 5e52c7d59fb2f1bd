/*
 * Chance, decided by a seed alone: the same seed gives the same run on every machine.
 */
#pragma once

#include <cstdint>

namespace simulate {

/** A small fast generator (splitmix). The standard library's distributions differ between libraries. */
class Draw {
  public:
    explicit Draw(uint64_t seed) : state_(seed) {}

    uint64_t Next() {
        state_ += 0x9E3779B97F4A7C15;
        uint64_t mixed = state_;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
        return mixed ^ mixed >> 31;
    }

    /** 0 to below - 1. The tiny unfairness does not matter here. */
    uint64_t Below(uint64_t below) { return Next() % below; }

    /** Both ends included. */
    int64_t Between(int64_t low, int64_t high) {
        return low + static_cast<int64_t>(Below(static_cast<uint64_t>(high - low) + 1));
    }
    bool OneIn(uint64_t n) { return Below(n) == 0; }

    template <class Type, size_t size>
    const Type& Of(const Type (&choices)[size]) {
        return choices[Below(size)];
    }

  private:
    uint64_t state_;
};

/** A seed for a part of a run that does not depend on the parts before it. */
inline uint64_t SeedOf(uint64_t seed, uint64_t part) {
    Draw draw(seed ^ part * 0xD6E8FEB86659FD93);
    draw.Next();
    return draw.Next();
}

}  // namespace simulate
