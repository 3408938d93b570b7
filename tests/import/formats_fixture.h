// Real documents for the importers' tests, and a way to import them without the helper process.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "base/error.h"
#include "import/helper/formats/formats.h"
#include "import/helper/importers.h"
#include "import/import_failure.h"
#include "platform/open_file.h"
#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class ImporterTest : public testing::Test {
  protected:
    static Importer importerOf(const std::string& name) {
        const std::string extension = name.substr(name.rfind('.') + 1);
        if (extension == "html") return importHTML;
        if (extension == "pdf") return importPDF;
        if (extension == "rtf") return importRichText;
        if (extension == "eml") return importMail;
        if (extension == "emlx") return importAppleMail;
        return extension == "png" ? importImage : importPackage;
    }

    ImportTextResult importFile(const std::string& path, bool useOCR = false) {
        const OpenFile file(path);
        const std::string name = path.substr(path.rfind('/') + 1);
        job_.descriptor = file.descriptor();
        job_.name = name;
        job_.useOCR = useOCR;
        return importerOf(name)(job_);
    }
    // The text of a document with these bytes, told apart by its name's extension.
    std::string textOf(const std::string& name, std::string_view bytes) {
        return importFile(folder_.file(name, bytes)).allText(false).value_or("nothing");
    }

    TemporaryFolder folder_;
    ImportJob job_{-1, "", "", static_cast<std::size_t>(-1), false, {}, {}};
};

// Holds the documents that formats_samples.py writes.
class FormatsTest : public ImporterTest {
  protected:
    static void SetUpTestSuite() {
        samples_ = std::make_unique<TemporaryFolder>();
        // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
        ASSERT_EQ(std::system(("python3 -B " KESTRIX_SAMPLES " " + samples_->path()).c_str()), 0);
    }
    static void TearDownTestSuite() { samples_.reset(); }

    static std::string samplePath(const std::string& name) { return samples_->path(name); }
    static std::string sample(const std::string& name) { return *readWholeFile(samplePath(name)); }

    ImportTextResult importSample(const std::string& name, bool useOCR = false) {
        return importFile(samplePath(name), useOCR);
    }
    std::string textOfSample(const std::string& name) {
        return importSample(name).allText(false).value_or("nothing");
    }

    // The failure of a sample as "code: words".
    std::string failureOf(const std::string& name) {
        try {
            return "read: " + textOfSample(name).substr(0, 60);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), kImportDomain);
            return (error.code() == static_cast<int>(ImportFailure::tooLarge) ? "tooLarge: " : "damaged: ") +
                   std::string(error.what());
        }
    }

  private:
    static inline std::unique_ptr<TemporaryFolder> samples_;
};

}  // namespace kestrix
