#include "shell/options.h"

#include <cwchar>

namespace {
constexpr size_t kMaxOptions = 256;
}

void ScanOptions(CWords& words, COptions& options) {
    bool stopped = false;
    for (size_t i = 0; i < words.size() && !stopped;) {
        SWord& word = words[i];
        const size_t slash = word.kind == SWord::Plain ? word.text.find(L'/') : Text::npos;
        if (slash == Text::npos) {
            ++i;
            continue;
        }
        Text kept = word.text.substr(0, slash);
        size_t p = slash;
        while (p < word.text.size() && word.text[p] == L'/') {
            if (p + 1 < word.text.size() && word.text[p + 1] == L'-') {
                // Everything behind "/-" is left as it stands.
                kept += word.text.substr(p + 2);
                stopped = true;
                break;
            }
            SOption option;
            option.letter = p + 1 < word.text.size() ? word.text[p + 1] : 0;
            size_t q = p + 2;
            while (q < word.text.size() && word.text[q] != L'/' && word.text[q] != L'=') ++q;
            if (q < word.text.size() && word.text[q] == L'=') {
                option.text = word.text.substr(q + 1);
                q = word.text.size();
            }
            if (option.letter && options.size() < kMaxOptions) options.push_back(std::move(option));
            p = q;
        }
        if (kept.empty()) {
            words.erase(words.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            word.text = std::move(kept);
            ++i;
        }
    }
}

const SOption* FindOption(const COptions& options, const wchar_t* letters) {
    for (const SOption& o : options)
        if (o.letter && std::wcschr(letters, o.letter)) return &o;
    return nullptr;
}

int OptionMode(const COptions& options, const wchar_t* letters) {
    for (const SOption& o : options) {
        if (!o.letter) continue;
        if (const wchar_t* at = std::wcschr(letters, o.letter)) return static_cast<int>(at - letters) / 2;
    }
    return -1;
}

Text JoinWords(const CWords& words, size_t first, bool keepQuotes) {
    Text out;
    for (size_t i = first; i < words.size(); ++i) {
        if (i > first) out += L' ';
        if (keepQuotes && words[i].kind == SWord::Quoted) {
            out += wchar_t(1);
            out += words[i].text;
            out += wchar_t(1);
        } else {
            out += words[i].text;
        }
    }
    return out;
}
