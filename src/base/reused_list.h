// A list whose entries keep their memory when it is cleared.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

// For a record that is filled again and again: lists inside the entries need no allocation once the
// record has held as much before. A copy holds only the entries in use.
template <typename T>
class ReusedList {
  public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    ReusedList() = default;
    ReusedList(std::initializer_list<T> entries) : entries_(entries), size_(entries.size()) {}
    ReusedList(const ReusedList& other)
        : entries_(other.begin(), other.end()), size_(other.size_) {}
    ReusedList(ReusedList&& other) noexcept
        : entries_(std::move(other.entries_)), size_(std::exchange(other.size_, 0)) {}
    ReusedList& operator=(ReusedList other) noexcept {
        std::swap(entries_, other.entries_);
        std::swap(size_, other.size_);
        return *this;
    }

    // Adds an entry, which may still hold what a removed one left in it.
    T& add() {
        if (size_ == entries_.size()) entries_.emplace_back();
        return entries_[size_++];
    }
    void push_back(T entry) { add() = std::move(entry); }
    void clear() { size_ = 0; }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T& operator[](size_t n) { return entries_[n]; }
    const T& operator[](size_t n) const { return entries_[n]; }
    T& front() { return entries_.front(); }
    const T& front() const { return entries_.front(); }
    T& back() { return entries_[size_ - 1]; }
    const T& back() const { return entries_[size_ - 1]; }
    T* begin() { return entries_.data(); }
    const T* begin() const { return entries_.data(); }
    T* end() { return begin() + size_; }
    const T* end() const { return begin() + size_; }

    // All entries, also those that wait for their next use.
    const std::vector<T>& entries() const { return entries_; }

    friend bool operator==(const ReusedList& a, const ReusedList& b) {
        return std::ranges::equal(a, b);
    }

  private:
    std::vector<T> entries_;
    size_t size_ = 0;
};
