#pragma once

#include <QString>

namespace bom::entry {
class Session;
}

namespace bom::card {

// How the operator prints the card and which templates he chose, kept per operator in the
// account (sys_user_setting, section "BOM\Vouch"), so they follow him to any workstation.
struct PrintSettings {
    int displayTemplateId = 0; // 0: the card's default
    int printTemplateId = 0;
    QString printer; // empty: the system's default printer
    QString paper = QStringLiteral("A4");
    bool landscape = false;
    double marginMm = 10;

    bool operator==(const PrintSettings&) const = default;
};

class CardPrintSettings {
public:
    static constexpr const char* kSection = "BOM\\Vouch";

    explicit CardPrintSettings(entry::Session& session) : session_(session) {}

    // The operator's settings; what he never set keeps its default. Throws db::DbError.
    PrintSettings load();
    // In one transaction; false after "打印设置保存失败！" when it could not be written.
    bool save(const PrintSettings& settings);

private:
    void write(const QString& name, const QString& value);

    entry::Session& session_;
};

} // namespace bom::card
