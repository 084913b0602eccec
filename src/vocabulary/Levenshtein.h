#pragma once

#include <QString>

#include <span>

namespace sonvo {

// Edit distance over user-perceived characters (grapheme clusters compared by canonical
// equivalence), case-sensitive: callers lower-case first. Unit costs, no transposition.
struct Levenshtein {
    static int distancia(const QString& a, const QString& b);
    // The same distance over sequences of cluster codes (equal codes for canonically equal
    // clusters), for callers that compare one word with many and split each word only once.
    static int distancia(std::span<const int> a, std::span<const int> b);
};

} // namespace sonvo
