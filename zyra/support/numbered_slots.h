// The slot array behind the numbered buffers of records (pulses, loudspeakers, obstacles).
#ifndef ZYRA_SUPPORT_NUMBERED_SLOTS_H_
#define ZYRA_SUPPORT_NUMBERED_SLOTS_H_

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
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
// that slot or the next change of shape (Set, Swap, Append beyond Reserve, Refill, Resize,
// Rearrange).
template <class T>
class NumberedSlots {
 public:
  NumberedSlots() : records_(1), kinds_(1, kInArray) {}

  int32_t Count() const noexcept { return static_cast<int32_t>(kinds_.size()) - 1; }
  bool InRange(int32_t i) const noexcept { return i >= 0 && i <= Count(); }

  // The reference at i, shared with the buffer; the empty reference outside 0..Count.
  std::shared_ptr<T> Get(int32_t i) const {
    if (!InRange(i)) return {};
    const auto k = static_cast<size_t>(i);
    if (kinds_[k] == kEmpty) return {};
    if (kinds_[k] == kInArray) {
      ShareSlots();
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
    if (kinds_[k] == kEmpty) RaiseError(kErrObjectNotSet);
    return *shared_[k];
  }
  // The record at i, or null where Get would give the empty reference.
  T* Find(int32_t i) const {
    if (!InRange(i)) return nullptr;
    const auto k = static_cast<size_t>(i);
    if (kinds_[k] == kInArray) return &records_[k];
    return kinds_[k] == kEmpty ? nullptr : shared_[k].get();
  }
  // Stores a record of the buffer's own at i, in place of whatever reference was there; error 9
  // outside 0..Count.
  void SetValue(int32_t i, T value) {
    if (!InRange(i)) RaiseError(kErrSubscript);
    const auto k = static_cast<size_t>(i);
    records_[k] = std::move(value);
    if (!shared_.empty()) shared_[k].reset();
    kinds_[k] = kInArray;
  }
  // Stores the reference (no copy); error 9 outside 0..Count.
  void Set(int32_t i, std::shared_ptr<T> value) {
    if (!InRange(i)) RaiseError(kErrSubscript);
    const auto k = static_cast<size_t>(i);
    if (kinds_[k] == kInArray) records_[k] = T();
    ShareSlots();
    kinds_[k] = value ? kShared : kEmpty;
    shared_[k] = std::move(value);
  }
  void Swap(int32_t i, int32_t j) {
    if (!InRange(i) || !InRange(j)) RaiseError(kErrSubscript);
    const auto a = static_cast<size_t>(i);
    const auto b = static_cast<size_t>(j);
    std::swap(records_[a], records_[b]);
    std::swap(kinds_[a], kinds_[b]);
    if (!shared_.empty()) std::swap(shared_[a], shared_[b]);
  }
  // Empties one slot, releasing its record when nothing else refers to it.
  void Release(int32_t i) noexcept {
    const auto k = static_cast<size_t>(i);
    if (!shared_.empty()) shared_[k].reset();
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
    kinds_.assign(n, kInArray);
  }
  // Room for records up to nCount without moving them, for a reader that appends.
  void Reserve(int32_t nCount) {
    if (nCount < 0) RaiseError(kErrInvalidCall);
    records_.reserve(static_cast<size_t>(nCount) + 1);
    kinds_.reserve(static_cast<size_t>(nCount) + 1);
  }
  // A new slot at Count + 1 with a new record, returned in place.
  T& Append() {
    records_.emplace_back();
    kinds_.push_back(kInArray);
    if (!shared_.empty()) shared_.emplace_back();
    return records_.back();
  }
  // Resizes to 0..nCount keeping the references; every slot without a record afterwards,
  // slot 0 included, gets a new one. Error 5 for a negative count.
  void Resize(int32_t nCount) {
    if (nCount < 0) RaiseError(kErrInvalidCall);
    const auto n = static_cast<size_t>(nCount) + 1;
    records_.resize(n);
    kinds_.resize(n, kInArray);
    if (!shared_.empty()) shared_.resize(n);
    for (size_t k = 0; k < n; ++k) {
      if (kinds_[k] == kEmpty) {
        records_[k] = T();
        kinds_[k] = kInArray;
      }
    }
  }

  // Slot j (1-based) takes what slot laFrom[j - 1] held, for j = 1..size; Count becomes the
  // size. Each source must lie in 1..Count and be used once (error 9 otherwise, nothing moved);
  // the slots no source names are dropped. The records move in place, so that sorting a
  // million records needs no second copy of them, and the list, taken by value, is the
  // move's own working storage: a caller done with it moves it in.
  void Rearrange(std::vector<int32_t> laFrom) {
    const auto nOld = static_cast<size_t>(Count());
    const size_t nNamed = laFrom.size();
    if (nNamed > nOld) RaiseError(kErrSubscript);
    // A bit per slot, which stays in the cache while the sources are checked.
    std::vector<bool> named(nOld + 1, false);
    for (const int32_t s : laFrom) {
      if (s < 1 || static_cast<size_t>(s) > nOld || named[static_cast<size_t>(s)]) {
        RaiseError(kErrSubscript);
      }
      named[static_cast<size_t>(s)] = true;
    }
    // The whole permutation of 1..nOld: the unnamed sources behind the named ones, in their
    // order, to be cut off at the end.
    for (size_t s = 1; laFrom.size() < nOld; ++s) {
      if (!named[s]) laFrom.push_back(static_cast<int32_t>(s));
    }
    MoveAlongCycles(laFrom);
    records_.resize(nNamed + 1);
    kinds_.resize(nNamed + 1);
    if (!shared_.empty()) shared_.resize(nNamed + 1);
  }

 private:
  // kInArray: the record is records_[i]; kShared: it is *shared_[i]; kEmpty: the empty
  // reference was stored.
  static constexpr uint8_t kInArray = 0;
  static constexpr uint8_t kShared = 1;
  static constexpr uint8_t kEmpty = 2;
  // How many chains of a permutation are followed at once.
  static constexpr size_t kChains = 16;

  // Makes room for shared references, which only buffers that hand records out need.
  void ShareSlots() const {
    if (shared_.empty()) shared_.resize(kinds_.size());
  }

  // Slot j takes what slot from[j - 1] held, for j = 1..size, `from` a permutation of
  // 1..size; `from` is used up. Following a cycle of the permutation (j <- from[j - 1] <- ...)
  // moves one record per step, and each step waits for the memory of the record it moves:
  // so several chains are followed at once, taking turns, and each asks for the record it
  // moves next a whole round ahead. A chain starts at a slot whose record nobody has taken
  // yet, sets that record aside, and fills slot after slot until its next source is the start
  // of a chain; the slot it stands on then takes that start's record, at the end. An entry of
  // `from` is flipped (~) once its slot's record is taken, and a start's entry becomes the
  // flipped number of its record set aside: a step only ever reaches a taken slot when that
  // slot is a start.
  void MoveAlongCycles(std::vector<int32_t>& from) {
    const size_t n = from.size();
    const auto entry = [&from](size_t slot) -> int32_t& { return from[slot - 1]; };
    // With no record ever handed out and no slot empty, the slot kinds are all alike and need
    // not move.
    const bool bKinds =
        !shared_.empty() || std::find(kinds_.begin(), kinds_.end(), kEmpty) != kinds_.end();
    const auto moveSlot = [this, bKinds](size_t to, size_t at) {
      records_[to] = std::move(records_[at]);
      if (!bKinds) return;
      kinds_[to] = kinds_[at];
      if (!shared_.empty()) shared_[to] = std::move(shared_[at]);
    };
    struct SetAside {
      T record;
      uint8_t kind;
      std::shared_ptr<T> shared;
    };
    std::vector<SetAside> starts;
    struct End {
      size_t slot;   // the slot that takes a record set aside
      size_t start;  // which one
    };
    std::vector<End> ends;
    struct Chain {
      size_t at = 0;    // the slot that takes the next record
      size_t next = 0;  // the slot that record comes from
      bool active = false;
    };
    // The chain now stands on `slot`, whose record has just been taken: its source is next.
    const auto standOn = [&](Chain& chain, size_t slot, int32_t lTaken) {
      const auto source = static_cast<size_t>(entry(slot));
      entry(slot) = lTaken;
      chain.at = slot;
      chain.next = source;
      Prefetch(&records_[source]);
      PrefetchLine(&entry(source));
      if (bKinds) PrefetchLine(&kinds_[source]);
    };
    size_t sweep = 1;
    const auto startChain = [&](Chain& chain) {
      // Slots already taken, and slots that keep their record, start nothing.
      while (sweep <= n && (entry(sweep) < 0 || static_cast<size_t>(entry(sweep)) == sweep)) {
        ++sweep;
      }
      chain.active = sweep <= n;
      if (!chain.active) return;
      starts.push_back({std::move(records_[sweep]), kinds_[sweep],
                        shared_.empty() ? nullptr : std::move(shared_[sweep])});
      standOn(chain, sweep, ~static_cast<int32_t>(starts.size() - 1));
    };
    std::array<Chain, kChains> chains;
    for (Chain& chain : chains) startChain(chain);
    for (bool bAny = true; bAny;) {
      bAny = false;
      for (Chain& chain : chains) {
        if (!chain.active) continue;
        bAny = true;
        const size_t source = chain.next;
        const int32_t lEntry = entry(source);
        if (lEntry < 0) {
          ends.push_back({chain.at, static_cast<size_t>(~lEntry)});
          startChain(chain);
          continue;
        }
        moveSlot(chain.at, source);
        standOn(chain, source, -1);
      }
    }
    for (const End& end : ends) {
      SetAside& aside = starts[end.start];
      records_[end.slot] = std::move(aside.record);
      kinds_[end.slot] = aside.kind;
      if (!shared_.empty()) shared_[end.slot] = std::move(aside.shared);
    }
  }

  // Asks for the cache line holding *p.
  static void PrefetchLine(const void* p) noexcept {
#if defined(__GNUC__)
    __builtin_prefetch(p);
#else
    (void)p;
#endif
  }

  static void Prefetch(const T* record) noexcept {
#if defined(__GNUC__)
    const char* bytes = reinterpret_cast<const char*>(record);
    for (size_t offset = 0; offset < sizeof(T); offset += 64) __builtin_prefetch(bytes + offset);
    __builtin_prefetch(bytes + sizeof(T) - 1);
#else
    (void)record;
#endif
  }

  mutable std::vector<T> records_;
  mutable std::vector<std::shared_ptr<T>> shared_;  // empty, or one per slot
  mutable std::vector<uint8_t> kinds_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_NUMBERED_SLOTS_H_
