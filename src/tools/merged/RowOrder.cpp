#include "tools/merged/RowOrder.h"

#include <algorithm>

void sortPlaces(std::vector<int>& places, const std::vector<SortKey>& keys,
                const std::vector<SortKey>& firstKeys, Qt::SortOrder order) {
    const bool isDescending = order == Qt::DescendingOrder;
    std::stable_sort(places.begin(), places.end(), [&](int left, int right) {
        const SortKey &a = keys[size_t(isDescending ? right : left)],
                      &b = keys[size_t(isDescending ? left : right)];
        if (a < b) return true;
        return !(b < a) && firstKeys[size_t(left)] < firstKeys[size_t(right)];
    });
}
