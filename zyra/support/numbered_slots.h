// The slot array behind the numbered buffers of records (pulses, loudspeakers, obstacles).
#ifndef ZYRA_SUPPORT_NUMBERED_SLOTS_H_
#define ZYRA_SUPPORT_NUMBERED_SLOTS_H_

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
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
  // million records needs no second copy of them.
  void Rearrange(std::span<const int32_t> laFrom) {
    const auto nOld = static_cast<size_t>(Count());
    if (laFrom.size() > nOld) RaiseError(kErrSubscript);
    // The whole permutation of 1..nOld: the sources named first, the unnamed ones behind them
    // in their order, to be cut off at the end.
    std::vector<int32_t> source(nOld + 1, 0);
    std::vector<uint8_t> done(nOld + 1, 0);
    for (size_t j = 0; j < laFrom.size(); ++j) {
      const int32_t s = laFrom[j];
      if (s < 1 || static_cast<size_t>(s) > nOld || done[static_cast<size_t>(s)] != 0) {
        RaiseError(kErrSubscript);
      }
      done[static_cast<size_t>(s)] = 1;
      source[j + 1] = s;
    }
    size_t next = laFrom.size() + 1;
    for (size_t s = 1; s <= nOld; ++s) {
      if (done[s] == 0) source[next++] = static_cast<int32_t>(s);
    }
    for (size_t j = 0; j <= nOld; ++j)
      done[j] = static_cast<uint8_t>(static_cast<size_t>(source[j]) == j ? 1 : 0);
    MoveAlongCycles(source, done);
    const size_t n = laFrom.size() + 1;
    records_.resize(n);
    kinds_.resize(n);
    if (!shared_.empty()) shared_.resize(n);
  }

 private:
  // kInArray: the record is records_[i]; kShared: it is *shared_[i]; kEmpty: the empty
  // reference was stored.
  static constexpr uint8_t kInArray = 0;
  static constexpr uint8_t kShared = 1;
  static constexpr uint8_t kEmpty = 2;
  // How many slots ahead a move along a list asks for records, and how many chains of a
  // permutation are followed at once.
  static constexpr size_t kFetchAhead = 8;
  static constexpr size_t kChains = 16;

  // Makes room for shared references, which only buffers that hand records out need.
  void ShareSlots() const {
    if (shared_.empty()) shared_.resize(kinds_.size());
  }

  // Slot j takes what slot source[j] held, for every j not yet done. Following a cycle of the
  // permutation (j <- source[j] <- source[source[j]] ...) one step at a time waits for each
  // step's memory in turn, so several chains are followed at once, each from a slot no chain
  // has reached yet until it meets the start of a chain: the cycles fall into pieces whose
  // slots are listed in order. The records then move along the lists, each piece's last slot
  // taking the record that the start it met held at first (set aside beforehand), and with the
  // slots known ahead, the records needed next are asked for before they are needed.
  void MoveAlongCycles(const std::vector<int32_t>& source, std::vector<uint8_t>& done) {
    struct Piece {
      size_t begin = 0;  // the piece's slots: path[begin .. end - 1]
      size_t end = 0;
    };
    std::vector<int32_t> path;
    path.reserve(done.size());
    std::vector<Piece> pieces;
    // Each chain knows the slot it steps to next and has asked for that slot's entries of
    // `source` and `done` a round ahead, while the other chains step.
    struct Chain {
      std::vector<int32_t> slots;
      size_t next = 0;  // source[] of the slot the chain stands on
      bool active = false;
    };
    const auto aimAt = [&source, &done](Chain& chain, size_t slot) {
      chain.next = static_cast<size_t>(source[slot]);
      PrefetchLine(&source[chain.next]);
      PrefetchLine(&done[chain.next]);
    };
    std::array<Chain, kChains> chains;
    size_t sweep = 1;
    const auto startChain = [&](Chain& chain) {
      while (sweep < done.size() && done[sweep] != 0) ++sweep;
      chain.active = sweep < done.size();
      if (!chain.active) return;
      chain.slots.assign(1, static_cast<int32_t>(sweep));
      done[sweep] = 1;
      aimAt(chain, sweep);
    };
    for (Chain& chain : chains) startChain(chain);
    for (bool bAny = true; bAny;) {
      bAny = false;
      for (Chain& chain : chains) {
        if (!chain.active) continue;
        bAny = true;
        const size_t s = chain.next;
        if (done[s] == 0) {
          done[s] = 1;
          chain.slots.push_back(static_cast<int32_t>(s));
          aimAt(chain, s);
          continue;
        }
        pieces.push_back({path.size(), path.size() + chain.slots.size()});
        path.insert(path.end(), chain.slots.begin(), chain.slots.end());
        startChain(chain);
      }
    }
    // The records at the pieces' starts, which other pieces take at their ends.
    std::unordered_map<int32_t, size_t> startOf;
    std::vector<T> startRecords;
    std::vector<uint8_t> startKinds;
    std::vector<std::shared_ptr<T>> startShared;
    for (const Piece& piece : pieces) {
      const auto first = static_cast<size_t>(path[piece.begin]);
      startOf.emplace(path[piece.begin], startRecords.size());
      startRecords.push_back(std::move(records_[first]));
      startKinds.push_back(kinds_[first]);
      if (!shared_.empty()) startShared.push_back(std::move(shared_[first]));
    }
    for (const Piece& piece : pieces) {
      const auto at = [&path](size_t i) { return static_cast<size_t>(path[i]); };
      for (size_t i = piece.begin; i + 1 < piece.end; ++i) {
        if (i + kFetchAhead < path.size()) {
          Prefetch(&records_[at(i + kFetchAhead)]);
          PrefetchLine(&kinds_[at(i + kFetchAhead)]);
        }
        records_[at(i)] = std::move(records_[at(i + 1)]);
        kinds_[at(i)] = kinds_[at(i + 1)];
        if (!shared_.empty()) shared_[at(i)] = std::move(shared_[at(i + 1)]);
      }
      const size_t last = at(piece.end - 1);
      const size_t met = startOf.at(source[last]);
      records_[last] = std::move(startRecords[met]);
      kinds_[last] = startKinds[met];
      if (!shared_.empty()) shared_[last] = std::move(startShared[met]);
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
