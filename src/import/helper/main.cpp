// kestrix-import-helper: parses documents where they can do no harm. Started by kestrix alone.
#include "import/helper/importers.h"

int main(int argumentCount, char** arguments) {
    return kestrix::runImportHelper(argumentCount, arguments, kestrix::allImporters());
}
