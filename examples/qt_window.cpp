// A window that shows a picture beside what the filter makes of it, and saves it.
//
//   qt_window PICTURE [--screenshot FILE]    with the second, draws itself into a PNG file and ends
//
// Any program of Qt's can do what Encoded and Save do; nothing of kowen is linked.
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
        if (!Write(jpeg)) {
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
    QLabel before, after, size;
    QSpinBox quality;
    QCheckBox progressive{"progressive"};
};

} // namespace

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    const QImage image(words.value(1));
    if (image.isNull()) {
        qCritical("usage: qt_window PICTURE");
        return 2;
    }
    Window window(image);
    window.show();
    if (words.value(2) == "--screenshot")
        return window.grab().save(words.value(3), "png") ? 0 : 1;
    return application.exec();
}
