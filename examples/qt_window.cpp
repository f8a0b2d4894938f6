// A window that shows a picture beside what the filter makes of it, and saves it.
//
//   qt_window PICTURE [--screenshot FILE]    with the second, draws itself into a PNG file and ends
//
// The exit status is 1 when there is no picture, no JPEG of it, or no file.
//
// Any program of Qt's can do what Write and Save do; nothing of kowen is linked.
#include <QApplication>
#include <QBuffer>
#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QImageWriter>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QSpinBox>

namespace {

constexpr int kShownWidth = 300; // of each of the two pictures, in pixels

class Window final : public QWidget {
public:
    explicit Window(const QImage &image) : picture(image) {
        setWindowTitle("Save as kjpg");
        quality.setRange(45, 100);
        quality.setValue(75);
        quality.setPrefix("quality ");
        auto *button = new QPushButton("Save...");
        auto *layout = new QGridLayout(this);
        Show(before, picture);
        layout->addWidget(&before, 0, 0, 1, 2);
        layout->addWidget(&after, 0, 2, 1, 2);
        layout->addWidget(new QLabel("the picture"), 1, 0, 1, 2);
        layout->addWidget(&size, 1, 2, 1, 2);
        layout->addWidget(&quality, 2, 0);
        layout->addWidget(&progressive, 2, 1);
        layout->addWidget(button, 2, 3);
        connect(&quality, QOverload<int>::of(&QSpinBox::valueChanged), this, [this] { Refresh(); });
        connect(&progressive, &QCheckBox::toggled, this, [this] { Refresh(); });
        connect(button, &QPushButton::clicked, this, [this] { Save(); });
        Refresh();
    }

    // Says on the standard error output why it cannot.
    bool DrawInto(const QString &name) {
        if (!shown)
            qCritical("there is no JPEG to show: is the plug-in there?");
        else if (!grab().save(name, "png"))
            qCritical("%s cannot be written", qUtf8Printable(name));
        else
            return true;
        return false;
    }

private:
    static void Show(QLabel &label, const QImage &image) {
        label.setPixmap(
            QPixmap::fromImage(image.scaledToWidth(kShownWidth, Qt::SmoothTransformation)));
    }

    bool Write(QIODevice &device) const {
        QImageWriter writer(&device, "kjpg");
        writer.setQuality(quality.value());
        writer.setProgressiveScanWrite(progressive.isChecked());
        return writer.write(picture);
    }

    void Refresh() {
        QBuffer jpeg;
        shown = Write(jpeg);
        if (!shown) {
            after.clear();
            size.setText("cannot be saved: is the plug-in there?");
            return;
        }
        Show(after, QImage::fromData(jpeg.data()));
        size.setText(QString("as a JPEG: %1 kB").arg(static_cast<double>(jpeg.size()) / 1000));
    }

    // The old file stays until the new one is whole: that is QSaveFile's doing.
    void Save() {
        const QString name = QFileDialog::getSaveFileName(this, "Save", {}, "JPEG (*.jpg)");
        if (name.isEmpty())
            return;
        QSaveFile file(name);
        if (!file.open(QIODevice::WriteOnly) || !Write(file) || !file.commit())
            QMessageBox::warning(this, "Save", name + " was not saved: " + file.errorString());
    }

    QImage picture;
    bool shown = false; // as a JPEG
    QLabel before, after, size;
    QSpinBox quality;
    QCheckBox progressive{"progressive"};
};

} // namespace

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    const bool draws = words.size() == 4 && words[2] == "--screenshot";
    if (words.size() != 2 && !draws) {
        qCritical("usage: qt_window PICTURE [--screenshot FILE]");
        return 2;
    }
    const QImage image(words[1]);
    if (image.isNull()) {
        qCritical("%s cannot be read as a picture", qUtf8Printable(words[1]));
        return 1;
    }
    Window window(image);
    window.show();
    if (draws)
        return window.DrawInto(words[3]) ? 0 : 1;
    return application.exec();
}
