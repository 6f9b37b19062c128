#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

/// Size and alignment of the pages that the kernel can give large blocks of memory.
constexpr std::size_t huge_page_bytes = std::size_t{2} << 20;

/// Gives memory back that came from `std::malloc` or its like.
struct free_deleter {
  void operator()(void* memory) const { std::free(memory); }
};

/// A block for `size_bytes` bytes, a multiple of the huge page, that the kernel is asked to back with huge
/// pages. Free it with `std::free`; throws `std::bad_alloc`.
[[nodiscard]] void* allocate_huge_pages(std::size_t size_bytes);

/// How many slots a table has that was full with `size` of them, a power of two. Half a mebibyte and one are
/// skipped where slots fill a huge page: a table that gets so large is better off in one at once, with less
/// work to grow.
template <class Slot>
[[nodiscard]] constexpr std::size_t next_table_size(std::size_t size) {
  constexpr std::size_t slots_of_page = huge_page_bytes / sizeof(Slot);
  if (size == 0) return 4;
  const bool is_next =
      huge_page_bytes % sizeof(Slot) == 0 && size >= slots_of_page / 8 && size < slots_of_page;
  return is_next ? slots_of_page : size * 2;
}

/// Memory that grows block by block: by small blocks at first, since most runs are small, then by huge pages.
class block_source {
 public:
  /// Memory to be freed with `std::free`.
  struct block {
    char* memory;
    std::size_t size_bytes;
  };

  /// A block that nobody uses, of `small_block_bytes` or a huge page. Throws `std::bad_alloc`.
  [[nodiscard]] block take();

  static constexpr std::size_t small_block_bytes = std::size_t{64} * 1024;

 private:
  // What is left unused of the last block then counts for little.
  static constexpr std::size_t small_blocks = 16;

  std::size_t taken_ = 0;
};

/// Allocator for arrays whose elements are visited in no order: large ones are in huge pages, which spares
/// most of the page faults and address translations.
template <class T>
struct huge_page_allocator {
  using value_type = T;

  huge_page_allocator() = default;
  template <class Other>
  explicit huge_page_allocator(const huge_page_allocator<Other>&) {}

  /// Room for `count` objects. Throws `std::bad_alloc`.
  [[nodiscard]] T* allocate(std::size_t count) {
    const std::size_t size_bytes = count * sizeof(T);
    return static_cast<T*>(is_large(count) ? allocate_huge_pages(size_bytes) : ::operator new(size_bytes));
  }
  /// Frees what `allocate` gave for the same `count`.
  void deallocate(T* array, std::size_t count) {
    if (is_large(count)) {
      std::free(array);
    } else {
      ::operator delete(array);
    }
  }

  bool operator==(const huge_page_allocator&) const = default;

 private:
  static bool is_large(std::size_t count) {
    return count * sizeof(T) >= huge_page_bytes && count * sizeof(T) % huge_page_bytes == 0;
  }
};
