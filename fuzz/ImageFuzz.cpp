#include "Fuzz.h"
#include "tools/ImageDocument.h"
#include "tools/ImageUploadPlan.h"

namespace pivex::fuzzing {

namespace {

void checkPlan(const ImageDocument& image, std::int32_t slot) {
    const auto plan = resultOf([&] { return imageUploadPlan(image, slot); });
    const std::size_t chunks = (image.rle.size() + 47) / 48;
    hold(!plan || plan->size() == 8 + chunks, "a plan carries the whole image");
    hold(!plan || image.rle.size() <= maxBoardImageBytes, "a plan fits the board");
}

/// An image whose pixels and runs agree, with a name that its file keeps.
void checkImage(const ImageDocument& image) {
    hold(std::cmp_equal(image.pixels.size(), image.width * image.height), "every pixel is there");
    const std::string text = image.text();
    const auto again = resultOf([&] { return parseImage(text); });
    hold(again == image, "an image comes back as it was saved");
    hold(again->text() == text, "a second save is byte-equal");
    ImageDocument edited = image;
    edited.rebuild();
    hold(edited.rle.size() <= image.rle.size(), "no encoding is shorter than the program's");
    hold(decompressImage(edited.rle, image.width, image.height) == image.pixels,
         "the encoding stands for the pixels");
    checkPlan(image, 15);
}

/// Runs and a size from the input.
void checkRuns(Input& input) {
    ImageDocument image{"Runs", input.byte(), input.byte(), {}, {}};
    image.rle = input.bytes(1U << 16);
    std::size_t total = 0;
    bool isSound = image.width >= 1 && image.width <= maxImageWidth && image.height >= 1 &&
                   image.height <= maxImageHeight && !image.rle.empty() &&
                   image.rle.size() % 3 == 0;
    for (std::size_t at = 0; isSound && at < image.rle.size(); at += 3) {
        isSound = image.rle[at] != 0;
        total += image.rle[at];
    }
    isSound = isSound && std::cmp_equal(total, image.width * image.height);
    const auto pixels =
        resultOf([&] { return decompressImage(image.rle, image.width, image.height); });
    hold(pixels.has_value() == isSound, "exactly the complete runs are taken");
    if (pixels) {
        image.pixels = *pixels;
        checkImage(image);
    }
}

/// Pixels in a pattern from the input's bytes, in a size that they may fill or not.
void checkPixels(Input& input) {
    const auto width = static_cast<std::int32_t>(input.below(64));
    const auto height = static_cast<std::int32_t>(input.below(32));
    const std::int32_t count = width * height - (input.below(16) == 1 ? 1 : 0);
    ImageDocument image{input.field(), width, height, {}, {}};
    const Bytes pattern = input.bytes(1U << 16);
    for (std::size_t i = 0; std::cmp_less(i, count) && !pattern.empty(); ++i) {
        image.pixels.push_back(static_cast<std::uint16_t>(pattern[i % pattern.size()] * 0x0103));
    }
    if (failureOf([&] { image.rebuild(); }).empty()) {
        image.name = imageTrim(image.name);
        const bool isName =
            image.name.find_first_of(std::string_view("\0\r\n", 3)) == std::string::npos;
        if (isName) {
            checkImage(image);
        }
        checkPlan(image, height - 4);
    }
    resultOf([&] { return newImage(image.name, width, height); });
}

} // namespace

/// A file as it is; behind 0xFF run lengths, behind 0xFE pixels.
void fuzzOne(Input input) {
    if (const auto mark = input.mark(0xFE)) {
        const auto check = *mark == 0xFF ? checkRuns : checkPixels;
        check(input);
        return;
    }
    const std::string text = input.text();
    if (const auto image = resultOf([&] { return parseImage(text); })) {
        hold(imageTrim(image->name) == image->name, "a name is trimmed");
        hold(image->name.find('\0') == std::string::npos, "a name holds no zero");
        const auto other = fromOtherSystem(text, text.size() % 2 == 0);
        hold(!other || parseImage(*other) == image, "line ends and a mark do not matter");
        checkImage(*image);
    }
}

} // namespace pivex::fuzzing
