// Texts of the model as programs and people expect them: the files hold one byte per character
// (Latin-1); hosts show UTF-8 on one line.
#ifndef ZYRA_FACADE_TEXT_FORMS_H_
#define ZYRA_FACADE_TEXT_FORMS_H_

#include <string>
#include <string_view>

namespace zyra {

// A text of one byte per character (Latin-1, 0 ... 255) as UTF-8.
std::string Latin1ToUtf8(std::string_view sLatin1);

// A fixed-length label as UTF-8 without the blanks and NULs that pad it at the end.
std::string LabelText(std::string_view sLatin1);

// A library message on one line as UTF-8: control characters (the reader's NUL before the file
// name among them) become single blanks, surrounding blanks go.
std::string MessageLine(std::string_view sLatin1);

}  // namespace zyra

#endif  // ZYRA_FACADE_TEXT_FORMS_H_
