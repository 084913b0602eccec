#pragma once

#include <utility>
#include <variant>

namespace sonvo {

// A value or a typed failure; operations that can fail return one instead of throwing.
template <typename T, typename E>
class Resultado {
public:
    Resultado(T valor) : m_v(std::in_place_index<0>, std::move(valor)) {}
    Resultado(E erro) : m_v(std::in_place_index<1>, std::move(erro)) {}

    bool ok() const { return m_v.index() == 0; }
    explicit operator bool() const { return ok(); }
    const T& valor() const { return std::get<0>(m_v); }
    T& valor() { return std::get<0>(m_v); }
    const E& erro() const { return std::get<1>(m_v); }

private:
    std::variant<T, E> m_v;
};

} // namespace sonvo
