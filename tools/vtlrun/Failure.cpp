#include "Failure.h"

#include <string_view>

#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelError.h"
#include "zel/core/utility/ZelLog.h"

namespace vtlrun {

namespace {

// Reads the decimal number at `pos` and moves past it; false when there is none.
bool ReadNumber(std::wstring_view text, std::size_t& pos, std::wstring& number) {
    std::size_t const start = pos;
    while (pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9') {
        ++pos;
    }
    number.assign(text.substr(start, pos - start));
    return pos > start;
}

}  // namespace

TStringCore LenientText(std::string_view bytes) {
    try {
        return TStringCore::FromUtf8(bytes);
    } catch (TStringEncodingException const&) {
        std::wstring text;
        for (unsigned char const c : bytes) {
            text += c < 0x80 ? static_cast<wchar_t>(c) : L'\uFFFD';
        }
        return TStringCore(std::move(text));
    }
}

TStringCore PathText(std::filesystem::path const& path) {
    return LenientText(path.string());
}

namespace {

// The line and column of a text that starts "line L, column C:", and where the rest starts.
bool ReadPlace(std::wstring_view text, std::wstring& line, std::wstring& column, std::size_t& rest) {
    std::wstring_view constexpr linePrefix = L"line ";
    std::wstring_view constexpr columnPrefix = L", column ";
    std::size_t pos = 0;
    bool const found = text.starts_with(linePrefix) && ReadNumber(text, pos = linePrefix.size(), line) &&
                       text.substr(pos).starts_with(columnPrefix) &&
                       ReadNumber(text, pos += columnPrefix.size(), column) &&
                       text.substr(pos).starts_with(L":");
    rest = pos;
    return found;
}

}  // namespace

bool PointsIntoProgram(TStringCore const& text) {
    std::wstring line;
    std::wstring column;
    std::size_t rest = 0;
    return ReadPlace(text.view(), line, column, rest);
}

TStringCore PlaceInProgram(std::filesystem::path const& program, TStringCore const& text) {
    std::wstring line;
    std::wstring column;
    std::size_t rest = 0;
    if (ReadPlace(text.view(), line, column, rest)) {
        return PathText(program) + L":" + TStringCore(line) + L":" + TStringCore(column) +
               TStringCore(text.view().substr(rest));
    }
    return PathText(program) + L": " + text;
}

std::string DescribeFailure(zel::core::ZelException const& failure) {
    zel::core::ZelError const error = failure.GetError();
    std::string out = "error " + std::to_string(zel::core::ZelErrorNumber(error));
    if (auto const name = zel::core::ZelErrorName(error); !name.empty()) {
        out += " (";
        out += name;
        out += ')';
    }
    if (!failure.GetText().isEmpty()) {
        out += ": ";
        out += failure.GetText().ToUtf8();
    }
    out += '\n';
    return out;
}

void RouteDebugReportsToLog() {
    zel::core::SetZelDebugReportHandler([](zel::core::ZelDebugReport const& report) {
        if (!zel::core::GetZelLogger().AcceptsLogLevel(zel::core::ZelLogLevel::Debug)) {
            return;
        }
        std::string line = "check failed at ";
        line += report.sourcePath;
        line += ':';
        line += std::to_string(report.line);
        if (!report.conditionText.empty()) {
            line += ": ";
            line += report.conditionText;
        }
        line += " (error " + std::to_string(zel::core::ZelErrorNumber(report.error)) + ")";
        zel::core::ZelLog(zel::core::ZelLogLevel::Debug, LenientText(line));
    });
}

}  // namespace vtlrun
