#pragma once

#include <cstddef>
#include <cstdlib>
#include <future>
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

/// Huge pages for memory that grows page by page. Once a page was taken, the next one is made ready by
/// another thread: clearing memory that is used for the first time costs more than most of what it is used
/// for.
class huge_page_source {
 public:
  /// A page that nobody uses. Free it with `std::free`; throws `std::bad_alloc`.
  [[nodiscard]] char* take();

  huge_page_source() = default;
  huge_page_source(const huge_page_source&) = delete;
  huge_page_source& operator=(const huge_page_source&) = delete;
  ~huge_page_source();

 private:
  static char* make_ready(char* page);

  std::future<char*> next_;
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
