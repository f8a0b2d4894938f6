// Saves a picture by a format of Qt's, for scripts/bench.
//
//   save PICTURE OUT FORMAT QUALITY                          to a file
//   save --time TURNS PICTURE QUALITY OWN-QUALITY WORD       to memory as "kjpg" and as "jpg", in
//   turn:
//                                                            prints the medians, in milliseconds of
//                                                            processor time; WORD: progressive or
//                                                            not
#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QImageWriter>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

double Milliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double TimeOf(const QImage &image, const char *format, int quality, bool progressive) {
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setProgressiveScanWrite(progressive);
    const double start = Milliseconds();
    return writer.write(image) ? Milliseconds() - start : -1;
}

double Median(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

int Time(const QStringList &words) {
    const QImage image = QImage(words[3]).convertToFormat(QImage::Format_RGB32);
    const bool progressive = words[6] == "progressive";
    std::vector<double> kowen, own;
    for (int turn = 0; turn <= words[2].toInt(); ++turn) {
        kowen.push_back(TimeOf(image, "kjpg", words[4].toInt(), progressive));
        own.push_back(TimeOf(image, "jpg", words[5].toInt(), progressive));
    }
    std::printf("%.1f %.1f\n", Median(kowen), Median(own));
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    QCoreApplication::addLibraryPath(KOWEN_QT_PLUGINS);
    const QStringList words = QCoreApplication::arguments();
    if (words.size() == 7 && words[1] == "--time")
        return Time(words);
    if (words.size() != 5)
        return 2;
    const bool saved =
        QImage(words[1]).save(words[2], words[3].toUtf8().constData(), words[4].toInt());
    std::printf("%d\n", saved ? 1 : 0);
    return saved ? 0 : 1;
}
