#include <charconv>
#include <cmath>
#include <cstdio>

#include "CompositeValues.h"
#include "ScalarValue.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::core {

namespace {

class Writer {
public:
    void Write(StoreValue const* value) {
        if (value == nullptr) {
            m_out += L"nullptr";
        } else if (value->IsSpecial()) {
            WriteSpecial(value->GetSpecialKind());
        } else {
            WriteOrdinary(*value);
        }
    }

    TStringCore Take() { return TStringCore(std::move(m_out)); }

private:
    void WriteSpecial(SpecialKind kind) {
        switch (kind) {
            case SpecialKind::Null:
                m_out += L"null";
                break;
            case SpecialKind::Error:
                m_out += L"error";
                break;
            default:
                m_out += L"special(" + std::to_wstring(static_cast<unsigned>(kind)) + L")";
        }
    }

    template <class F>
    void WriteFloating(F value) {
        if (std::isnan(value)) {
            m_out += L"nan";
            return;
        }
        if (std::isinf(value)) {
            m_out += value < 0 ? L"-inf" : L"inf";
            return;
        }
        char buffer[64];
        auto const result = std::to_chars(buffer, buffer + sizeof(buffer), value);
        m_out.append(buffer, result.ptr);
    }

    void WriteString(std::wstring_view text) {
        m_out += L'"';
        for (wchar_t const c : text) {
            switch (c) {
                case L'"':
                    m_out += L"\\\"";
                    break;
                case L'\\':
                    m_out += L"\\\\";
                    break;
                case L'\n':
                    m_out += L"\\n";
                    break;
                case L'\t':
                    m_out += L"\\t";
                    break;
                case L'\r':
                    m_out += L"\\r";
                    break;
                default:
                    m_out += c;
            }
        }
        m_out += L'"';
    }

    void WriteName(TStringCore const& name) {
        bool plain = !name.isEmpty();
        for (wchar_t const c : name) {
            plain = plain && ((c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') ||
                              (c >= L'0' && c <= L'9') || c == L'_' || c == L'~');
        }
        if (plain) {
            m_out += name.view();
        } else {
            WriteString(name.view());
        }
    }

    void WriteElements(StoreValue const& array) {
        IStoreArrayOps const& ops = array.AsArray();
        unsigned int const count = array.GetCount();
        m_out += L'[';
        for (unsigned int row = 0; row < count; ++row) {
            if (row > 0) {
                m_out += L", ";
            }
            Write(ops.GetStoreValue(row).get());
        }
        m_out += L']';
    }

    void WriteEntries(IStoreKeyMap const& map) {
        m_out += L'{';
        bool first = true;
        for (auto const& name : map.GetSortedNames()) {
            m_out += first ? L"" : L", ";
            first = false;
            WriteName(name);
            m_out += L": ";
            Write(map.Find(name).get());
        }
        m_out += L'}';
    }

    void WriteOrdinary(StoreValue const& value) {
        switch (value.GetStoreType()) {
            case StoreType::Bool:
                m_out +=
                    static_cast<ScalarValue<StoreType::Bool> const&>(value).GetValue() ? L"true" : L"false";
                return;
            case StoreType::Int32:
                m_out += std::to_wstring(static_cast<ScalarValue<StoreType::Int32> const&>(value).GetValue());
                return;
            case StoreType::Int64:
                m_out += std::to_wstring(static_cast<ScalarValue<StoreType::Int64> const&>(value).GetValue());
                return;
            case StoreType::Float:
                WriteFloating(static_cast<ScalarValue<StoreType::Float> const&>(value).GetValue());
                return;
            case StoreType::Double:
                WriteFloating(static_cast<ScalarValue<StoreType::Double> const&>(value).GetValue());
                return;
            case StoreType::String:
                WriteString(static_cast<ScalarValue<StoreType::String> const&>(value).GetValue().View());
                return;
            case StoreType::Date:
                m_out +=
                    TStringCore::FromUtf8(
                        static_cast<ScalarValue<StoreType::Date> const&>(value).GetValue().ToIsoString(true))
                        .view();
                return;
            case StoreType::DateTime:
                m_out +=
                    TStringCore::FromUtf8(
                        static_cast<ScalarValue<StoreType::DateTime> const&>(value).GetValue().ToIsoString())
                        .view();
                return;
            case StoreType::Color: {
                wchar_t buffer[16];
                std::swprintf(buffer, 16, L"#%08X",
                              static_cast<ScalarValue<StoreType::Color> const&>(value).GetValue().GetValue());
                m_out += buffer;
                return;
            }
            case StoreType::Object:
                if (auto const* object = dynamic_cast<ScalarValue<StoreType::Object> const*>(&value)) {
                    m_out += object->GetValue() ? L"" : L"null";
                    if (object->GetValue()) {
                        Write(object->GetValue().get());
                    }
                } else if (auto const* keySet = dynamic_cast<IStoreKeySet const*>(&value)) {
                    WriteKeySet(*keySet);
                } else {
                    m_out += L"object";
                }
                return;
            case StoreType::Array:
                WriteElements(value);
                return;
            case StoreType::Set:
                m_out += L"set";
                WriteElements(*value.AsSet().AsArray(true));
                return;
            case StoreType::Tuple: {
                m_out += L'(';
                bool first = true;
                for (auto const& element : value.AsTuple().GetElements()) {
                    m_out += first ? L"" : L", ";
                    first = false;
                    Write(element.get());
                }
                m_out += L')';
                return;
            }
            case StoreType::KeyMap:
                WriteEntries(value.AsKeyMap());
                return;
            case StoreType::Table:
                m_out += L"table";
                WriteEntries(value.AsKeyMap());
                return;
            case StoreType::Empty:
                break;
        }
        m_out += L"?";
    }

    void WriteKeySet(IStoreKeySet const& keySet) {
        m_out += L"keyset{";
        bool first = true;
        for (auto const& [key, mapped] : keySet.GetValueEntries()) {
            m_out += first ? L"" : L", ";
            first = false;
            Write(key.get());
            m_out += L": ";
            Write(mapped.get());
        }
        m_out += L'}';
    }

    std::wstring m_out;
};

}  // namespace

TStringCore SerializeValue(StoreValue const& value) {
    Writer writer;
    writer.Write(&value);
    return writer.Take();
}

}  // namespace zel::core
