#include "zel/core/vtl/VtlPrinter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include <boost/unordered/unordered_flat_set.hpp>

#include "VtlText.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::core {
namespace {

void AppendAscii(std::wstring& out, std::string_view text) {
    for (char c : text) {
        out += static_cast<wchar_t>(c);
    }
}

// Shortest round-trip digits; nan and the infinities in their call form.
template <class F>
void AppendFloating(std::wstring& out, F value, bool isFloat) {
    wchar_t const* const call = isFloat ? L"float(\"" : L"double(\"";
    if (std::isnan(value)) {
        out += call;
        out += L"nan\")";
        return;
    }
    if (std::isinf(value)) {
        out += call;
        out += value < 0 ? L"-inf\")" : L"inf\")";
        return;
    }
    char buffer[64];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string_view const digits(buffer, static_cast<std::size_t>(result.ptr - buffer));
    AppendAscii(out, digits);
    if (isFloat) {
        out += L'f';
    } else if (digits.find_first_of(".e") == std::string_view::npos) {
        out += L".0";
    }
}

class Printer {
public:
    std::wstring Take() { return std::move(m_out); }

    void Path(KeyPath const& path) {
        if (path.IsEmpty()) {
            m_out += L'_';
            return;
        }
        std::wstring text;
        KeyPath prefix;
        unsigned int const count = path.GetCount();
        for (unsigned int i = 0; i < count; ++i) {
            auto const& segment = path.GetSegments()[i];
            prefix = prefix.Add(segment);
            if (i > 0) {
                text += L'.';
            }
            vtl::AppendSegment(text, segment->GetSegment().view(), i == 0);
            if (segment->HasType() && m_annotated.insert(prefix).second) {
                std::wstring type;
                vtl::AppendType(type, segment->GetType());
                text = i + 1 < count ? L"(" + text + L" : " + type + L")" : text + L" : " + type;
            }
        }
        m_out += text;
    }

    void Paths(std::vector<KeyPath> const& paths) {
        for (std::size_t i = 0; i < paths.size(); ++i) {
            if (i > 0) {
                m_out += L", ";
            }
            Path(paths[i]);
        }
    }

    void Literal(std::shared_ptr<StoreValue> const& value) {
        if (!value) {
            m_out += L"nullptr";
            return;
        }
        if (value->IsSpecial()) {
            auto const kind = static_cast<unsigned int>(value->GetSpecialKind());
            m_out += kind == 1 ? std::wstring(L"null : ") : L"special(" + std::to_wstring(kind) + L") : ";
            vtl::AppendTypeInfo(m_out, value->GetTypeInfo());
            return;
        }
        switch (value->GetStoreType()) {
            case StoreType::Bool:
                m_out += FetchStoreValue<bool>(value) ? L"true" : L"false";
                return;
            case StoreType::Int32:
                m_out += std::to_wstring(FetchStoreValue<int>(value));
                return;
            case StoreType::Int64:
                m_out += std::to_wstring(FetchStoreValue<long long>(value)) + L"L";
                return;
            case StoreType::Float:
                AppendFloating(m_out, FetchStoreValue<float>(value), true);
                return;
            case StoreType::Double:
                AppendFloating(m_out, FetchStoreValue<double>(value), false);
                return;
            case StoreType::String:
                vtl::AppendQuoted(m_out, FetchStoreValue<TStringCore>(value).view(), L'"');
                if (!value->GetTypeInfo().GetCollation().IsBinary()) {
                    m_out += L" : ";
                    vtl::AppendTypeInfo(m_out, value->GetTypeInfo());
                }
                return;
            case StoreType::Date:
                m_out += L"date(\"";
                AppendAscii(m_out, FetchStoreValue<ZelDateTime>(value).ToIsoString(true));
                m_out += L"\")";
                return;
            case StoreType::DateTime:
                m_out += L"datetime(\"";
                AppendAscii(m_out, FetchStoreValue<ZelDateTime>(value).ToIsoString(false));
                m_out += L"\")";
                return;
            case StoreType::Color: {
                char buffer[32];
                std::snprintf(buffer, sizeof buffer, "color(0x%08X)",
                              FetchStoreValue<ZelColor>(value).GetValue());
                AppendAscii(m_out, buffer);
                return;
            }
            default:
                m_out += SerializeValue(*value).view();
                return;
        }
    }

    void Function(FunctionSpec const& function) {
        std::wstring_view const id = function.GetFunctionId().view();
        if (vtl::IsWord(id)) {
            m_out += id;
        } else {
            vtl::AppendQuoted(m_out, id, L'`');
        }
        m_out += L'(';
        bool first = true;
        for (ValueSpec const& argument : function.GetFunctionInputs()) {
            if (!first) {
                m_out += L", ";
            }
            first = false;
            if (argument.IsKey()) {
                Path(argument.GetKeyPath());
            } else {
                Literal(argument.GetValue());
            }
        }
        m_out += L')';
    }

    void Statement(TransformSpec const& spec) {
        OperatorType const type = spec.GetOperatorType();
        bool const bare = spec.GetInputs().empty() && spec.GetOutputs().empty() && !spec.GetValue();
        if (bare && type == OperatorType::When && spec.GetFunctionSpec()) {
            m_out += L"when ";
            Function(*spec.GetFunctionSpec());
            Children(spec.GetChildTransforms(), true);
            return;
        }
        if (bare && type == OperatorType::Else && !spec.GetFunctionSpec()) {
            m_out += L"else";
            Children(spec.GetChildTransforms(), true);
            return;
        }
        if (!spec.GetOutputs().empty()) {
            Paths(spec.GetOutputs());
            m_out += L" = ";
        }
        TStringCore const& name = OperatorTypeToString(type);
        m_out += name.isEmpty() ? L"Operator" + std::to_wstring(static_cast<unsigned int>(type)) : name.str();
        m_out += L'(';
        Paths(spec.GetInputs());
        m_out += L')';
        if (spec.GetFunctionSpec()) {
            m_out += L" fn ";
            Function(*spec.GetFunctionSpec());
        }
        if (spec.GetValue()) {
            m_out += L" value ";
            Literal(spec.GetValue());
        }
        Children(spec.GetChildTransforms(), false);
    }

private:
    void Children(std::vector<TransformSpec> const& children, bool always) {
        if (children.empty()) {
            if (always) {
                m_out += L" { }";
            }
            return;
        }
        m_out += L" { ";
        for (std::size_t i = 0; i < children.size(); ++i) {
            if (i > 0) {
                m_out += L"; ";
            }
            Statement(children[i]);
        }
        m_out += L" }";
    }

    std::wstring m_out;
    boost::unordered_flat_set<KeyPath, KeyPath::KeyPathTypeAgnosticHash, KeyPath::KeyPathTypeAgnosticEqualTo>
        m_annotated;
};

void AppendIndices(std::wstring& out, std::vector<unsigned int> const& indices) {
    out += L'[';
    for (std::size_t i = 0; i < indices.size(); ++i) {
        out += (i > 0 ? L", " : L"") + std::to_wstring(indices[i]);
    }
    out += L']';
}

}  // namespace

TStringCore TransformToString(TransformSpec const& spec) {
    Printer printer;
    printer.Statement(spec);
    return TStringCore(printer.Take());
}

TStringCore FunctionToString(FunctionSpec const& spec) {
    Printer printer;
    printer.Function(spec);
    return TStringCore(printer.Take());
}

TStringCore GraphEdgeToString(GraphEdge const& edge) {
    Printer printer;
    printer.Path(edge.key);
    std::wstring out = L"edge " + printer.Take();
    if (edge.retainValue) {
        out += L" retained";
    }
    out += L" from ";
    AppendIndices(out, edge.sources);
    out += L" to ";
    AppendIndices(out, edge.sinks);
    return TStringCore(std::move(out));
}

TStringCore ProgramToString(std::vector<TransformSpec> const& specs, std::vector<GraphEdge> const* edges,
                            OutputKeySet const& outputKeys) {
    std::wstring out;
    if (!outputKeys.empty()) {
        std::vector<KeyPath> keys(outputKeys.begin(), outputKeys.end());
        std::sort(keys.begin(), keys.end(),
                  [](KeyPath const& a, KeyPath const& b) { return a.ToString() < b.ToString(); });
        Printer printer;
        printer.Paths(keys);
        out += L"output " + printer.Take() + L"\n";
    }
    if (edges != nullptr) {
        if (edges->empty()) {
            out += L"edge none\n";
        }
        for (GraphEdge const& edge : *edges) {
            out += GraphEdgeToString(edge).view();
            out += L'\n';
        }
    }
    for (TransformSpec const& spec : specs) {
        out += TransformToString(spec).view();
        out += L'\n';
    }
    return TStringCore(std::move(out));
}

}  // namespace zel::core
