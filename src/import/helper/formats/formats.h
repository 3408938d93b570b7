// The importers, one for each kind of document.
#pragma once

#include "import/helper/importer.h"

namespace kestrix {

// All of them: an Error says what is wrong with the document, beginning with its name. A web page, rich text
// or a mail that is cut off or damaged gives what can still be read; a PDF too, as long as its trailer is
// there. A package that is damaged is refused, since its parts cannot be trusted. Documents of more than 200
// MB (web pages and mails 100 MB, pictures 50 MB) are refused, and so is text of more than 64 MB. On the
// helper's main thread only.

ImportTextResult importHTML(const ImportJob& job);

// One page of text for each page. With OCR every page is also drawn and read by eye.
ImportTextResult importPDF(const ImportJob& job);

// docx, xlsx, pptx, odt, ods, odp, epub and their kin, told apart by what is in them.
ImportTextResult importPackage(const ImportJob& job);

ImportTextResult importRichText(const ImportJob& job);

// One message, with the messages inside it; and one in the envelope that Apple's mail program puts around it.
ImportTextResult importMail(const ImportJob& job);
ImportTextResult importAppleMail(const ImportJob& job);

// The text in a picture, in `ocrText`. Nothing without OCR.
ImportTextResult importImage(const ImportJob& job);

}  // namespace kestrix
