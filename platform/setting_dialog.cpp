#include "platform/setting_dialog.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QVBoxLayout>

namespace brv {

namespace {

constexpr const char* kOutOfUse =
    "※）Ver1.12以降未チェックで統一されました。現在は使用できません。";

int32_t* Check1Field(SettingsRecord& s, int index) {
    switch (index) {
        case 0:
            return &s.UseWatcher;
        case 1:
            return &s.UseSusieServer;
        case 2:
            return &s.ActionErrorWarn;
        case 3:
            return &s.ActionStepMessage;
        case 4:
            return &s.NewOnStart;
        case 5:
            return &s.AskOnClose;
        default:
            return &s.ClipboardIgnoreAlpha;
    }
}

const char* Check1Caption(int index) {
    static constexpr const char* kCaptions[7] = {
        "監視プロセスを使う",
        "Susieプラグインを別プロセスで起動する",
        "アクションのエラーごとに警告する",
        "アクションを1行ごとにメッセージ表示する",
        "起動時に新規作成する",
        "閉じる時に保存するか確認する",
        "クリップボードのアルファ値を無視する",
    };
    return kCaptions[index];
}

}  // namespace

QString SettingHelpText(int check1Index) {
    QStringList lines;
    switch (check1Index) {
        case 0:
            lines << "別プロセスを起動してBrivandelleを監視します。"
                  << "もしBrivandelleが不正に終了すると編集中のデータを"
                  << "保存するかどうか聞きます。"
                  << "チェックすると起動時間が少し遅くなります。"
                  << "（再起動後に有効）";
            break;
        case 1:
            lines << "Susieプラグインを別プロセスで起動します。"
                  << "Susieプラグインは壊れたファイルを読みこんだりすると強制終了することがあるの"
                     "でその危険からBrivandelleを守ります。"
                  << "チェックすると最初に画像を読みこむ時に時間がかかります。"
                  << "チェックしないと強制終了する可能性があります。";
            break;
        case 2:
            lines << "アクション実行中にエラーが出るたびに"
                  << "警告メッセージを表示するかどうかを設定します。" << kOutOfUse;
            break;
        case 3:
            lines << "アクションを1行実行するたびに"
                  << "メッセージを表示します。"
                  << "通常は表示させない方がいいでしょう。" << kOutOfUse;
            break;
        case 4:
            lines << "起動時に空白の画像を新規作成します。";
            break;
        case 5:
            lines << "画像を閉じる時、変更されている場合に"
                  << "保存するかどうかのメッセージを表示します。";
            break;
        case 6:
            lines << "クリップボードが32bitビットマップだった場合、アルファ値を無視します。"
                  << "32ビット解像度でアルファ値が考慮されていない場合に対応するためのものです。";
            break;
        default:
            break;
    }
    return lines.join('\n');
}

QString WindowScaleHelpText() {
    return QStringLiteral(
        "新規作成時（ファイルを開いた時も同様）のウィンドウサイズを\n"
        "MDIウィンドウのサイズに対しての割合で指定します。");
}

SettingDialog::SettingDialog(const SettingsRecord& settings, QWidget* parent)
    : QDialog(parent), copy_(settings) {
    setWindowTitle(QStringLiteral("設定"));
    auto* layout = new QVBoxLayout(this);
    for (int i = 0; i < 7; ++i) {
        auto* box = new QCheckBox(QString::fromUtf8(Check1Caption(i)), this);
        box->setChecked(*Check1Field(copy_, i) != 0);
        check1_[static_cast<size_t>(i)] = box;
        layout->addWidget(box);
        Watch(box, SettingHelpText(i));
    }

    auto* form = new QFormLayout;
    text1_ = new QLineEdit(QString::number(copy_.WindowScale), this);
    text2_[0] = new QLineEdit(QString::number(copy_.DefaultWidth), this);
    text2_[1] = new QLineEdit(QString::number(copy_.DefaultHeight), this);
    text3_ = new QLineEdit(QString::number(copy_.GridDefault), this);
    form->addRow(QStringLiteral("ウィンドウサイズ(%)"), text1_);
    form->addRow(QStringLiteral("新規作成時の幅"), text2_[0]);
    form->addRow(QStringLiteral("新規作成時の高さ"), text2_[1]);
    form->addRow(QStringLiteral("グリッドサイズ"), text3_);
    layout->addLayout(form);
    Watch(text1_, WindowScaleHelpText());
    Watch(text2_[0], QString());
    Watch(text2_[1], QString());
    Watch(text3_, QString());

    connect(text1_, &QLineEdit::editingFinished, this,
            [this] { CheckRange(text1_, kWindowScaleLimit); });
    for (QLineEdit* e : text2_)
        connect(e, &QLineEdit::editingFinished, this, [e] { CheckRange(e, kDefaultSizeLimit); });
    connect(text3_, &QLineEdit::editingFinished, this,
            [this] { CheckRange(text3_, kGridDefaultLimit); });

    help_ = new QLabel(this);
    help_->setWordWrap(true);
    help_->setMinimumHeight(5 * fontMetrics().height());
    help_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    help_->setFrameShape(QFrame::StyledPanel);
    layout->addWidget(help_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingDialog::reject);
}

void SettingDialog::Watch(QWidget* control, const QString& help) {
    control->setProperty("brvHelp", help);
    control->installEventFilter(this);
}

bool SettingDialog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Enter || event->type() == QEvent::FocusIn) {
        const QVariant help = watched->property("brvHelp");
        if (help.isValid()) help_->setText(help.toString());
    }
    return QDialog::eventFilter(watched, event);
}

int32_t SettingDialog::Value(QLineEdit* edit) {
    bool ok = false;
    const qlonglong v = edit->text().trimmed().toLongLong(&ok);
    return ok ? static_cast<int32_t>(std::clamp<qlonglong>(v, INT32_MIN, INT32_MAX)) : 0;
}

void SettingDialog::CheckRange(QLineEdit* edit, int32_t limit) {
    edit->setText(QString::number(ClampSettingNumber(Value(edit), limit)));
    edit->setCursorPosition(static_cast<int>(edit->text().size()));
}

void SettingDialog::accept() {
    CheckRange(text1_, kWindowScaleLimit);
    CheckRange(text2_[0], kDefaultSizeLimit);
    CheckRange(text2_[1], kDefaultSizeLimit);
    CheckRange(text3_, kGridDefaultLimit);
    for (int i = 0; i < 7; ++i)
        *Check1Field(copy_, i) = check1_[static_cast<size_t>(i)]->isChecked() ? 1 : 0;
    copy_.WindowScale = Value(text1_);
    copy_.DefaultWidth = Value(text2_[0]);
    copy_.DefaultHeight = Value(text2_[1]);
    copy_.GridDefault = Value(text3_);
    QDialog::accept();
}

}  // namespace brv
