#include "platform/PropertyList.h"

namespace plist {

TValue TValue::String(std::string value)
{
    TValue result;
    result.text = std::move(value);
    return result;
}

TValue TValue::Integer(std::int64_t value)
{
    TValue result;
    result.kind = Kind::kInteger;
    result.integer = value;
    return result;
}

TValue TValue::Boolean(bool value)
{
    TValue result;
    result.kind = Kind::kBoolean;
    result.boolean = value;
    return result;
}

TValue TValue::Data(std::string bytes)
{
    TValue result;
    result.kind = Kind::kData;
    result.text = std::move(bytes);
    return result;
}

TValue TValue::Array()
{
    TValue result;
    result.kind = Kind::kArray;
    return result;
}

TValue TValue::Dictionary()
{
    TValue result;
    result.kind = Kind::kDictionary;
    return result;
}

TValue* TValue::Find(const std::string& key)
{
    for (auto& entry : entries) {
        if (entry.first == key)
            return &entry.second;
    }
    return nullptr;
}

const TValue* TValue::Find(const std::string& key) const
{
    return const_cast<TValue*>(this)->Find(key);
}

void TValue::Set(const std::string& key, TValue value)
{
    if (TValue* const present = Find(key))
        *present = std::move(value);
    else
        entries.emplace_back(key, std::move(value));
}

}   // namespace plist
