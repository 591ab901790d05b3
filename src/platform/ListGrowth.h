#pragma once

#include <stdexcept>

/// Appends to a list. Throws std::length_error "list too long" when the list is at its maximum.
template<class List, class Value>
void AppendOrThrow(List& list, const Value& value)
{
    if (list.size() == list.max_size())
        throw std::length_error("list too long");
    list.push_back(value);
}
