#include "tools/merged/RowOrder.h"

#include <algorithm>
#include <numeric>

namespace {

/// Rows come sorted from the worker that has read them.
template <typename Less>
void sortUnlessSorted(std::vector<int>& places, const Less& less) {
    if (!std::is_sorted(places.begin(), places.end(), less))
        std::stable_sort(places.begin(), places.end(), less);
}

}  // namespace

int SortKey::compare(const SortKey& other) const {
    if (number != other.number) return number < other.number ? -1 : 1;
    if (!version.isNull() || !other.version.isNull())
        if (const int versions = QVersionNumber::compare(version, other.version); versions != 0)
            return versions;
    return text.compare(other.text);
}

std::vector<int> ranksOf(const std::vector<SortKey>& keys) {
    std::vector<int> places(keys.size()), ranks(keys.size());
    std::iota(places.begin(), places.end(), 0);
    sortUnlessSorted(places, [&](int a, int b) { return keys[size_t(a)].compare(keys[size_t(b)]) < 0; });
    for (size_t place = 0; place < places.size(); ++place)
        ranks[size_t(places[place])] = int(place);
    return ranks;
}

void sortPlaces(std::vector<int>& places, const std::vector<SortKey>& keys, const std::vector<int>& ranks,
                Qt::SortOrder order) {
    const int sign = order == Qt::DescendingOrder ? -1 : 1;
    if (keys.empty()) {
        sortUnlessSorted(places,
                         [&](int a, int b) { return sign * (ranks[size_t(a)] - ranks[size_t(b)]) < 0; });
        return;
    }
    sortUnlessSorted(places, [&](int a, int b) {
        const int compared = sign * keys[size_t(a)].compare(keys[size_t(b)]);
        return compared != 0 ? compared < 0 : ranks[size_t(a)] < ranks[size_t(b)];
    });
}
