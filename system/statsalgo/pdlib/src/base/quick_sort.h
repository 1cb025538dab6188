// The one sort of the library: in place, not stable, around the middle element. What it leaves of
// equal items is part of the results.
#pragma once

namespace pdlib {

// Sorts items [low, high] by rising key. `exchange` swaps two items, or leaves them where it has a
// reason to. Recurses into the smaller side, so that the depth stays small for any order.
template <class Item, class Key, class Exchange>
void QuickSort(Item* items, int low, int high, Key key, Exchange exchange) {
  while (low < high) {
    const auto pivot = key(items[low + (high - low) / 2]);
    int left = low;
    int right = high;
    while (left <= right) {
      while (key(items[left]) < pivot) ++left;
      while (key(items[right]) > pivot) --right;
      if (left <= right) exchange(&items[left++], &items[right--]);
    }
    if (right - low < high - left) {
      QuickSort(items, low, right, key, exchange);
      low = left;
    } else {
      QuickSort(items, left, high, key, exchange);
      high = right;
    }
  }
}

}  // namespace pdlib
