/*
 * Handles for objects of this process.
 *
 * A handle is a number that is never given twice, not an address: the engine may close a handle in one thread
 * while another still works with it, and may use a closed one. Such a call must fail, and must not touch
 * memory or a descriptor that belongs to somebody else by now.
 */
#pragma once

#include <cerrno>
#include <map>
#include <memory>
#include <mutex>

#include "../platform.h"
#include "last_error.h"

template <class Object>
class HandleTable {
  public:
    /** Gives an object a handle; PLAT_INVALID_HANDLE when there is no memory left. */
    plat_handle Add(std::shared_ptr<Object> object) noexcept {
        try {
            const std::lock_guard<std::mutex> lock(guard_);
            next_ += kStep;
            objects_.emplace(next_, std::move(object));
            return next_;
        } catch (...) {
            SetLastErrno(ENOMEM);
            return PLAT_INVALID_HANDLE;
        }
    }

    /** The object of a handle; empty, and the last error set, when there is none. */
    std::shared_ptr<Object> Find(plat_handle handle) noexcept {
        const std::lock_guard<std::mutex> lock(guard_);
        const auto found = objects_.find(handle);
        if (found != objects_.end()) return found->second;
        SetLastErrno(EBADF);
        return nullptr;
    }

    /** Takes a handle's object out of the table; empty, and the last error set, when there is none. */
    std::shared_ptr<Object> Remove(plat_handle handle) noexcept {
        const std::lock_guard<std::mutex> lock(guard_);
        const auto found = objects_.find(handle);
        if (found == objects_.end()) {
            SetLastErrno(EBADF);
            return nullptr;
        }
        std::shared_ptr<Object> object = std::move(found->second);
        objects_.erase(found);
        return object;
    }

    /** Drops the oldest objects until at most `most` are left. */
    void DropOldest(size_t most) noexcept {
        const std::lock_guard<std::mutex> lock(guard_);
        while (objects_.size() > most) {
            objects_.erase(objects_.begin());
        }
    }

  private:
    static constexpr plat_handle kStep = 4;

    std::mutex guard_;
    std::map<plat_handle, std::shared_ptr<Object>> objects_;
    plat_handle next_ = 0x100;
};
