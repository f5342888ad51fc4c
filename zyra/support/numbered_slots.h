// The slot array behind the numbered buffers of records (pulses, loudspeakers, obstacles).
#ifndef ZYRA_SUPPORT_NUMBERED_SLOTS_H_
#define ZYRA_SUPPORT_NUMBERED_SLOTS_H_

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "zyra/support/errors.h"

namespace zyra {

// References at index 0..Count. Records are numbered from 1; slot 0 holds a template record
// that is never saved. Sizing never leaves a slot empty, although Set may store an empty
// reference on purpose.
template <class T>
class NumberedSlots {
 public:
  NumberedSlots() : slots_(1) { slots_[0] = std::make_shared<T>(); }

  int32_t Count() const noexcept { return static_cast<int32_t>(slots_.size()) - 1; }
  bool InRange(int32_t i) const noexcept { return i >= 0 && i <= Count(); }

  // The reference at i; the empty reference outside 0..Count.
  std::shared_ptr<T> Get(int32_t i) const {
    return InRange(i) ? slots_[static_cast<size_t>(i)] : std::shared_ptr<T>();
  }
  // The record at i without touching its reference count, for loops over 0..Count.
  // Error 91 when the slot holds the empty reference.
  T& At(int32_t i) const { return *Required(slots_[static_cast<size_t>(i)]); }
  // Stores the reference (no copy); error 9 outside 0..Count.
  void Set(int32_t i, std::shared_ptr<T> value) {
    if (!InRange(i)) RaiseError(kErrSubscript);
    slots_[static_cast<size_t>(i)] = std::move(value);
  }
  void Swap(int32_t i, int32_t j) {
    if (!InRange(i) || !InRange(j)) RaiseError(kErrSubscript);
    std::swap(slots_[static_cast<size_t>(i)], slots_[static_cast<size_t>(j)]);
  }
  // Empties one slot, releasing its record when nothing else refers to it.
  void Release(int32_t i) noexcept { slots_[static_cast<size_t>(i)].reset(); }

  // Makes the array anew with 0..nCount, each slot a new record; error 5 for a negative count.
  void Refill(int32_t nCount) {
    if (nCount < 0) RaiseError(kErrInvalidCall);
    slots_.clear();  // release the old records before making the new ones
    slots_.resize(static_cast<size_t>(nCount) + 1);
    for (auto& slot : slots_) slot = std::make_shared<T>();
  }
  // Resizes to 0..nCount keeping the references; every slot without a record afterwards,
  // slot 0 included, gets a new one. Error 5 for a negative count.
  void Resize(int32_t nCount) {
    if (nCount < 0) RaiseError(kErrInvalidCall);
    slots_.resize(static_cast<size_t>(nCount) + 1);
    for (auto& slot : slots_) {
      if (!slot) slot = std::make_shared<T>();
    }
  }

 private:
  std::vector<std::shared_ptr<T>> slots_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_NUMBERED_SLOTS_H_
