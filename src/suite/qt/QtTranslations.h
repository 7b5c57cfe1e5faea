#pragma once

namespace bom::suite {

// Qt's own texts (the buttons of message boxes, the file, print and page set-up dialogs) in
// Chinese, like the rest of the program.
class QtTranslations {
public:
    // Loads Qt's Chinese translations into the running application once; false (and a
    // warning) when they are not installed.
    static bool install();
};

} // namespace bom::suite
