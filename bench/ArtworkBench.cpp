#include "tools/FontDocument.h"
#include "tools/ImageDrawing.h"

#include <numeric>

#include <benchmark/benchmark.h>

using namespace pivex;

namespace {

/// The image that costs most: every pixel a run of its own.
ImageDocument noisyImage() {
    ImageDocument image = newImage("Noise", maxImageWidth, maxImageHeight);
    std::iota(image.pixels.begin(), image.pixels.end(), std::uint16_t{0});
    image.rebuild();
    return image;
}

/// The yardstick: one read and one write of every pixel.
void plainPass(benchmark::State& state) {
    ImageDocument image = noisyImage();
    for (auto _ : state) {
        for (std::uint16_t& pixel : image.pixels) {
            benchmark::DoNotOptimize(++pixel);
        }
    }
}

BENCHMARK(plainPass);

void floodFill(benchmark::State& state) {
    ImageDrawing drawing(newImage("Blank", maxImageWidth, maxImageHeight));
    std::uint16_t color = 0;
    drawing.begin();
    for (auto _ : state) {
        drawing.apply(ImageTool::Fill, 80, 64, ++color);
    }
}

BENCHMARK(floodFill);

void rebuildRuns(benchmark::State& state) {
    ImageDocument image = noisyImage();
    for (auto _ : state) {
        image.rebuild();
        benchmark::DoNotOptimize(image.rle.data());
    }
}

BENCHMARK(rebuildRuns);

void rebuildBlank(benchmark::State& state) {
    ImageDocument image = newImage("Blank", maxImageWidth, maxImageHeight);
    for (auto _ : state) {
        image.rebuild();
        benchmark::DoNotOptimize(image.rle.data());
    }
}

BENCHMARK(rebuildBlank);

void decompressRuns(benchmark::State& state) {
    const ImageDocument image = noisyImage();
    for (auto _ : state) {
        benchmark::DoNotOptimize(decompressImage(image.rle, image.width, image.height));
    }
}

BENCHMARK(decompressRuns);

void imageText(benchmark::State& state) {
    const ImageDocument image = noisyImage();
    for (auto _ : state) {
        benchmark::DoNotOptimize(image.text());
    }
}

BENCHMARK(imageText);

void imageParse(benchmark::State& state) {
    const std::string text = noisyImage().text();
    for (auto _ : state) {
        benchmark::DoNotOptimize(parseImage(text));
    }
}

BENCHMARK(imageParse);

void fontText(benchmark::State& state) {
    const FontDocument font{"Largest", 8, 8, Bytes(65528, 0xA5)};
    for (auto _ : state) {
        benchmark::DoNotOptimize(font.text());
    }
}

BENCHMARK(fontText);

void fontParse(benchmark::State& state) {
    const std::string text = FontDocument{"Largest", 8, 8, Bytes(65528, 0xA5)}.text();
    for (auto _ : state) {
        benchmark::DoNotOptimize(parseFont(text));
    }
}

BENCHMARK(fontParse);

} // namespace

BENCHMARK_MAIN();
