// The slot array behind the numbered buffers of records (pulses, loudspeakers, obstacles).
#ifndef ZYRA_SUPPORT_NUMBERED_SLOTS_H_
#define ZYRA_SUPPORT_NUMBERED_SLOTS_H_

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "zyra/support/errors.h"

namespace zyra {

// Records at index 0..Count, numbered from 1; slot 0 holds a template record that is never
// saved. Sizing never leaves a slot empty, although Set may store an empty reference on purpose.
//
// Where the records live. A response holds millions of pulses and every preparation step and
// evaluation walks all of them, so they are kept by value in one array, in slot order: no
// allocation and no reference count per record, neighbours in memory are neighbours in the
// response, and a sort moves the records themselves (Rearrange), so that the walks after it
// stay sequential. The buffers still promise shared references to callers: the object a
// caller stores with Set is the one the buffer keeps, and a record handed out by Get stays
// valid, and stays the buffer's record, whatever happens to the buffer afterwards. A slot
// therefore holds its record in the array only until someone outside sees it: Set stores the
// caller's object as a shared slot, and Get first moves an array record into an object of its
// own (once per record) and hands out that. Rearranging moves array records and shared
// references alike, so a reference that was handed out follows its record. Loops inside the
// library use At, which hands nothing out.
//
// Because Get may move a record, even const calls on one object must not run on two threads
// at once (distinct objects may), and a reference from At is valid only until the next Get of
// that slot or the next change of shape (Set, Swap, Refill, Resize, Rearrange).
template <class T>
class NumberedSlots {
 public:
  NumberedSlots() : records_(1), shared_(1), kinds_(1, kInArray) {}

  int32_t Count() const noexcept { return static_cast<int32_t>(kinds_.size()) - 1; }
  bool InRange(int32_t i) const noexcept { return i >= 0 && i <= Count(); }

  // The reference at i, shared with the buffer; the empty reference outside 0..Count.
  std::shared_ptr<T> Get(int32_t i) const {
    if (!InRange(i)) return {};
    const auto k = static_cast<size_t>(i);
    if (kinds_[k] == kInArray) {
      shared_[k] = std::make_shared<T>(std::move(records_[k]));
      records_[k] = T();
      kinds_[k] = kShared;
    }
    return shared_[k];
  }
  // The record at i in place, for loops over 0..Count. Error 91 when the slot holds the empty
  // reference.
  T& At(int32_t i) const {
    const auto k = static_cast<size_t>(i);
    if (kinds_[k] == kInArray) return records_[k];
    return *Required(shared_[k]);
  }
  // The record at i, or null where Get would give the empty reference.
  T* Find(int32_t i) const {
    if (!InRange(i)) return nullptr;
    const auto k = static_cast<size_t>(i);
    return kinds_[k] == kInArray ? &records_[k] : shared_[k].get();
  }
  // Stores a record of the buffer's own at i, in place of whatever reference was there; error 9
  // outside 0..Count.
  void SetValue(int32_t i, T value) {
    if (!InRange(i)) RaiseError(kErrSubscript);
    const auto k = static_cast<size_t>(i);
    records_[k] = std::move(value);
    shared_[k].reset();
    kinds_[k] = kInArray;
  }
  // Stores the reference (no copy); error 9 outside 0..Count.
  void Set(int32_t i, std::shared_ptr<T> value) {
    if (!InRange(i)) RaiseError(kErrSubscript);
    const auto k = static_cast<size_t>(i);
    if (kinds_[k] == kInArray) records_[k] = T();
    kinds_[k] = value ? kShared : kEmpty;
    shared_[k] = std::move(value);
  }
  void Swap(int32_t i, int32_t j) {
    if (!InRange(i) || !InRange(j)) RaiseError(kErrSubscript);
    SwapSlots(static_cast<size_t>(i), static_cast<size_t>(j));
  }
  // Empties one slot, releasing its record when nothing else refers to it.
  void Release(int32_t i) noexcept {
    const auto k = static_cast<size_t>(i);
    shared_[k].reset();
    kinds_[k] = kEmpty;
  }

  // Makes the array anew with 0..nCount, each slot a new record; error 5 for a negative count.
  void Refill(int32_t nCount) {
    if (nCount < 0) RaiseError(kErrInvalidCall);
    // Release the old records before making the new ones.
    records_ = std::vector<T>();
    shared_ = std::vector<std::shared_ptr<T>>();
    kinds_ = std::vector<uint8_t>();
    const auto n = static_cast<size_t>(nCount) + 1;
    records_.resize(n);
    shared_.resize(n);
    kinds_.assign(n, kInArray);
  }
  // Resizes to 0..nCount keeping the references; every slot without a record afterwards,
  // slot 0 included, gets a new one. Error 5 for a negative count.
  void Resize(int32_t nCount) {
    if (nCount < 0) RaiseError(kErrInvalidCall);
    const auto n = static_cast<size_t>(nCount) + 1;
    records_.resize(n);
    shared_.resize(n);
    kinds_.resize(n, kInArray);
    for (size_t k = 0; k < n; ++k) {
      if (kinds_[k] == kEmpty) {
        records_[k] = T();
        kinds_[k] = kInArray;
      }
    }
  }

  // Slot j (1-based) takes what slot laFrom[j - 1] held, for j = 1..size; Count becomes the
  // size. Each source must lie in 1..Count and be used once (error 9 otherwise, nothing moved);
  // the slots no source names are dropped. The records move in place, one cycle of the
  // permutation at a time, so that sorting a million records needs no second copy of them.
  void Rearrange(std::span<const int32_t> laFrom) {
    const auto nOld = static_cast<size_t>(Count());
    if (laFrom.size() > nOld) RaiseError(kErrSubscript);
    // The whole permutation of 1..nOld: the sources named first, the unnamed ones behind them
    // in their order, to be cut off at the end.
    std::vector<int32_t> source(nOld + 1, 0);
    std::vector<uint8_t> named(nOld + 1, 0);
    for (size_t j = 0; j < laFrom.size(); ++j) {
      const int32_t s = laFrom[j];
      if (s < 1 || static_cast<size_t>(s) > nOld || named[static_cast<size_t>(s)] != 0) {
        RaiseError(kErrSubscript);
      }
      named[static_cast<size_t>(s)] = 1;
      source[j + 1] = s;
    }
    size_t next = laFrom.size() + 1;
    for (size_t s = 1; s <= nOld; ++s) {
      if (named[s] == 0) source[next++] = static_cast<int32_t>(s);
    }
    // Follow each cycle: j takes from source[j], which takes from its source, and so on until
    // the cycle's start comes round again. `named` now marks the slots already filled.
    std::fill(named.begin(), named.end(), 0);
    for (size_t start = 1; start <= nOld; ++start) {
      if (named[start] != 0 || static_cast<size_t>(source[start]) == start) continue;
      T record = std::move(records_[start]);
      std::shared_ptr<T> shared = std::move(shared_[start]);
      const uint8_t kind = kinds_[start];
      size_t j = start;
      for (auto s = static_cast<size_t>(source[j]); s != start;
           s = static_cast<size_t>(source[j])) {
        MoveSlot(s, j);
        named[j] = 1;
        j = s;
      }
      records_[j] = std::move(record);
      shared_[j] = std::move(shared);
      kinds_[j] = kind;
      named[j] = 1;
    }
    const size_t n = laFrom.size() + 1;
    records_.resize(n);
    shared_.resize(n);
    kinds_.resize(n);
  }

 private:
  // kInArray: the record is records_[i]; kShared: it is *shared_[i]; kEmpty: the empty
  // reference was stored.
  static constexpr uint8_t kInArray = 0;
  static constexpr uint8_t kShared = 1;
  static constexpr uint8_t kEmpty = 2;

  void MoveSlot(size_t from, size_t to) {
    records_[to] = std::move(records_[from]);
    shared_[to] = std::move(shared_[from]);
    kinds_[to] = kinds_[from];
  }
  void SwapSlots(size_t i, size_t j) {
    std::swap(records_[i], records_[j]);
    std::swap(shared_[i], shared_[j]);
    std::swap(kinds_[i], kinds_[j]);
  }

  mutable std::vector<T> records_;
  mutable std::vector<std::shared_ptr<T>> shared_;
  mutable std::vector<uint8_t> kinds_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_NUMBERED_SLOTS_H_
