#pragma once

#include "settings/cinitfile.h"

// The installer's persistent settings in "installer.ini" in the share directory:
// the user-interface language and the re-run mark. Read at construction, written
// at destruction if anything was set.
class CParameter : public CInitFile {
public:
    // shareDirectory ends with a slash; "installer.ini" is appended to it.
    explicit CParameter(const QString& shareDirectory);
    virtual ~CParameter();

    // Catalogue path of the chosen language, ":/lang/en" by default.
    [[nodiscard]] QString GetLanguage() const;
    void SetLanguage(const QString& catalogue);
    // Raises the re-run mark; nothing in the installer ever clears it.
    void SetReRun();
    [[nodiscard]] bool GetReRun() const;
};
