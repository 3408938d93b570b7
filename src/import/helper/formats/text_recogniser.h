// Reads text in pictures.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace kestrix {

// A picture in grey, a byte a dot, 0 being black.
struct GreyPicture {
    const char* dots;
    int width;
    int height;
    int bytesPerRow;
    int dotsPerInch;  // 0: not known
};

// The recognition engine with its knowledge of English. It is loaded when first asked for and stays, because
// that takes a tenth of a second; a process that shuts itself in must leave the folder of that knowledge
// readable, or call `shared` before. The engine starts threads that hinder each other: the environment of the
// process must hold OMP_THREAD_LIMIT=1 when it starts. Threads: one at a time.
class TextRecogniser {
  public:
    // Throws Error (damaged) if the engine or its knowledge are missing.
    static TextRecogniser& shared();

    ~TextRecogniser();
    TextRecogniser(const TextRecogniser&) = delete;
    TextRecogniser& operator=(const TextRecogniser&) = delete;

    // The lines in reading order, parted by blanks. A picture that takes more than 30 s gives what was found
    // till then. `shouldCancel` (may be empty) is asked after every word; throws Error (cancelled).
    std::string read(const GreyPicture& picture, const std::function<bool()>& shouldCancel);

  private:
    TextRecogniser();
    struct Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace kestrix
