#pragma once

#include "data/directquery.h"

#include <QString>

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

// The texts of one column that repeat down a long list (the authors of a catalogue), each made
// into one Qt string that the rows share: a text met before costs a look-up instead of a
// conversion and an allocation. The first Capacity different texts are kept; any later new one
// is converted each time, so a column of texts that never repeat costs little memory.
class SharedTexts final
{
public:
    static constexpr size_t Capacity = 4096;

    // The column's text as DirectQuery::text gives it.
    QString text(const DirectQuery &query, int column)
    {
        const QByteArrayView bytes = query.utf8(column);
        if (bytes.isNull())
            return QString();
        const std::string_view key(bytes.data(), size_t(bytes.size()));
        const auto it = m_texts.find(key);
        if (it != m_texts.end())
            return it->second;
        QString made = QString::fromUtf8(bytes);
        if (m_texts.size() < Capacity)
            m_texts.emplace(std::string(key), made);
        return made;
    }

private:
    struct Hash
    {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    std::unordered_map<std::string, QString, Hash, std::equal_to<>> m_texts;
};
