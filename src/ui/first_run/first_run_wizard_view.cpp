#include "ui/first_run/first_run_wizard_view.h"

#include "engine/halvoren_engine.h"
#include "platform/login_item.h"
#include "platform/notification_center.h"
#include "ui/panel/panel_buttons.h"
#include "ui/settings/settings_controls.h"
#include "ui/settings/settings_values.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QEasingCurve>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace halvoren {

namespace {

constexpr int cardWidth = 540;
constexpr int iconHeight = 72;
constexpr int frameMilliseconds = 16;

// The step's symbol, 72 points high, in the accent.
class StepIcon : public QWidget {
public:
    explicit StepIcon(QWidget* parent = nullptr)
        : QWidget(parent) {
        setFixedHeight(iconHeight);
        setAttribute(Qt::WA_TranslucentBackground);
    }
    void setSymbol(std::string symbol, QColor color) {
        symbol_ = std::move(symbol);
        color_ = color;
        update();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF square(width() / 2.0 - iconHeight / 2.0, 0, iconHeight, iconHeight);
        theme::paintSymbol(painter, square, symbol_, color_);
    }

private:
    std::string symbol_;
    QColor color_;
};

// One dot per step, the current one wider and in the accent.
class PageDots : public QWidget {
public:
    explicit PageDots(QWidget* parent = nullptr)
        : QWidget(parent) {
        setFixedHeight(12);
        setAttribute(Qt::WA_TranslucentBackground);
    }
    void setCurrent(std::size_t index, QColor accent) {
        current_ = index;
        accent_ = accent;
        setAccessibleDescription(QStringLiteral("Step %1 of %2").arg(index + 1).arg(first_run::steps.size()));
        update();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        QColor idle = theme::secondaryColor(theme::currentAppearance());
        idle.setAlphaF(0.35F);
        const double gap = 8.0;
        const double dot = 7.0;
        const double wide = 18.0;
        const double total = (first_run::steps.size() - 1) * (dot + gap) + wide;
        double x = width() / 2.0 - total / 2.0;
        for (std::size_t i = 0; i < first_run::steps.size(); ++i) {
            const double w = i == current_ ? wide : dot;
            painter.setBrush(i == current_ ? accent_ : idle);
            painter.drawRoundedRect(QRectF(x, height() / 2.0 - dot / 2.0, w, dot), dot / 2.0, dot / 2.0);
            x += w + gap;
        }
    }

private:
    std::size_t current_ = 0;
    QColor accent_;
};

// The wizard's sheet: the opaque panel colour with a hairline and a soft shadow, so nothing of
// the window behind competes with it.
class WizardCard : public QWidget {
public:
    explicit WizardCard(QWidget* parent = nullptr)
        : QWidget(parent) {
        setAttribute(Qt::WA_TranslucentBackground);
        setContentsMargins(12, 12, 12, 16);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const theme::Appearance look = theme::currentAppearance();
        const QRectF sheet = QRectF(rect()).adjusted(12, 8, -12, -16);
        painter.setPen(Qt::NoPen);
        for (int i = 1; i <= 6; ++i) {
            painter.setBrush(QColor(0, 0, 0, 7));
            painter.drawRoundedRect(sheet.adjusted(-i, -i + 4, i, i + 4), 18.0 + i, 18.0 + i);
        }
        painter.setBrush(theme::cardBackground(look));
        painter.setPen(QPen(theme::borderColor(look, theme::prefersIncreasedContrast()), 1.0));
        painter.drawRoundedRect(sheet, 18.0, 18.0);
    }
};

QLabel* centred(QLabel* label) {
    label->setAlignment(Qt::AlignHCenter);
    label->setWordWrap(true);
    return label;
}

} // namespace

FirstRunWizardView::FirstRunWizardView(HalvorenEngine& engine, LoginItem& loginItem,
                                       NotificationCenter& notifications, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , loginItem_(loginItem)
    , notifications_(notifications)
    , loginItemEnabled_(loginItem.isEnabled())
    , card_(new WizardCard(this))
    , icon_(new StepIcon())
    , title_(centred(new QLabel()))
    , subtitle_(centred(settings::noteLabel(QString())))
    , bodies_(new QStackedWidget())
    , dots_(new PageDots())
    , back_(new FooterButton(QStringLiteral("Back"), "", this))
    , skip_(new FooterButton(QStringLiteral("Skip Setup"), "", this))
    , main_(new ActionButton(QString(), ActionButton::Style::prominent, this)) {
    setAutoFillBackground(false);
    setAccessibleName(QStringLiteral("Setup"));
    auto* outer = new QVBoxLayout(this);
    outer->addStretch(1);
    auto* middle = new QHBoxLayout();
    middle->addStretch(1);
    card_->setFixedWidth(cardWidth);
    middle->addWidget(card_);
    middle->addStretch(1);
    outer->addLayout(middle);
    outer->addStretch(1);

    auto* column = new QVBoxLayout(card_);
    column->setContentsMargins(40, 32, 40, 36);
    column->setSpacing(12);
    auto* stage = new QWidget();
    auto* stageColumn = new QVBoxLayout(stage);
    stageColumn->setContentsMargins(0, 8, 0, 0);
    stageColumn->setSpacing(10);
    stageColumn->addWidget(icon_);
    title_->setFont(theme::font(theme::FontRole::dialogTitle));
    title_->setStyleSheet(
        QStringLiteral("color: %1;").arg(theme::primaryColor(theme::currentAppearance()).name()));
    stageColumn->addWidget(title_);
    subtitle_->setFont(theme::font(theme::FontRole::body));
    stageColumn->addWidget(subtitle_);
    stageColumn->addSpacing(8);
    bodies_->addWidget(new QWidget());
    bodies_->addWidget(buildHelperPage());
    bodies_->addWidget(buildNotificationsPage());
    bodies_->addWidget(buildLoginPage());
    bodies_->addWidget(new QWidget());
    stageColumn->addWidget(bodies_);
    fade_ = new QGraphicsOpacityEffect(stage);
    fade_->setOpacity(1.0);
    stage->setGraphicsEffect(fade_);
    column->addWidget(stage);
    column->addStretch(1);
    column->addWidget(dots_);
    column->addSpacing(6);
    auto* footer = new QHBoxLayout();
    footer->addWidget(back_);
    footer->addStretch(1);
    footer->addWidget(skip_);
    footer->addWidget(main_);
    column->addLayout(footer);
    card_->setMinimumHeight(470);

    QObject::connect(back_, &QAbstractButton::clicked, this, [this] { goBack(); });
    QObject::connect(skip_, &QAbstractButton::clicked, this, [this] { skip(); });
    QObject::connect(main_, &QAbstractButton::clicked, this, [this] { advance(); });
    setTabOrder(main_, back_);

    helperRefresh_.setInterval(helperRefreshMilliseconds);
    QObject::connect(&helperRefresh_, &QTimer::timeout, this, [this] { engine_.refreshHelperState(); });
    transition_.setInterval(frameMilliseconds);
    QObject::connect(&transition_, &QTimer::timeout, this, [this] {
        const double progress =
            std::min(1.0, static_cast<double>(transitionClock_.elapsed()) / std::max(transitionLength_, 1));
        fade_->setOpacity(QEasingCurve(QEasingCurve::InOutQuad).valueForProgress(progress));
        if (progress >= 1.0) {
            transition_.stop();
        }
    });
    watch_.on(engine_.helperState(), [this] { refreshHelper(); });
    watch_.on(engine_.accentChoice(), [this] { refresh(); });
    refreshHelper();
    refresh();
}

FirstRunWizardView::~FirstRunWizardView() = default;

QWidget* FirstRunWizardView::buildHelperPage() {
    auto* page = new QWidget();
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    helperStatus_ = new StatusBadge();
    column->addWidget(helperStatus_, 0, Qt::AlignHCenter);
    helperAction_ = new ActionButton(QString(), ActionButton::Style::prominent);
    QObject::connect(helperAction_, &QAbstractButton::clicked, this, [this] {
        const first_run::HelperStatus status = first_run::helperStatus(engine_.helperState().value());
        if (status.action == first_run::HelperAction::install) {
            engine_.installHelper();
        } else if (status.action == first_run::HelperAction::approve) {
            engine_.openHelperApproval();
        }
    });
    column->addWidget(helperAction_, 0, Qt::AlignHCenter);
    helperNote_ = centred(settings::noteLabel(QString()));
    column->addWidget(helperNote_);
    column->addStretch(1);
    return page;
}

QWidget* FirstRunWizardView::buildNotificationsPage() {
    auto* page = new QWidget();
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    notifyButton_ = new ActionButton(QStringLiteral("Enable Notifications"), ActionButton::Style::prominent);
    QObject::connect(notifyButton_, &QAbstractButton::clicked, this, [this] { requestNotifications(); });
    column->addWidget(notifyButton_, 0, Qt::AlignHCenter);
    notifyStatus_ = new StatusBadge();
    column->addWidget(notifyStatus_, 0, Qt::AlignHCenter);
    notifyNote_ = centred(settings::noteLabel(QString()));
    column->addWidget(notifyNote_);
    column->addWidget(centred(settings::noteLabel(
        QStringLiteral("Set per-sensor-group thresholds anytime in Settings → Sensor Alerts."))));
    column->addStretch(1);
    return page;
}

QWidget* FirstRunWizardView::buildLoginPage() {
    auto* page = new QWidget();
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(40, 0, 40, 0);
    column->setSpacing(8);
    loginToggle_ = new ToggleSwitch(QStringLiteral("Start at login"));
    QObject::connect(loginToggle_, &QAbstractButton::toggled, this, [this](bool on) { setLoginItem(on); });
    column->addLayout(settings::labelledRow(QStringLiteral("Start at login"), loginToggle_));
    loginError_ = settings::noteLabel(QString());
    loginError_->setStyleSheet(QStringLiteral("color: #FF453A;"));
    column->addWidget(loginError_);
    column->addStretch(1);
    return page;
}

void FirstRunWizardView::goTo(Step step) {
    if (step == step_) {
        return;
    }
    step_ = step;
    if (step_ == Step::helper) {
        // A new attempt at once, then at a steady pace while the step shows.
        engine_.refreshHelperState();
        helperRefresh_.start();
    } else {
        helperRefresh_.stop();
    }
    refresh();
    startTransition();
}

void FirstRunWizardView::advance() {
    if (const std::optional<Step> next = first_run::nextStep(step_)) {
        goTo(*next);
    } else {
        complete();
    }
}

void FirstRunWizardView::goBack() {
    if (const std::optional<Step> previous = first_run::previousStep(step_);
        previous && first_run::footer(step_).back) {
        goTo(*previous);
    }
}

void FirstRunWizardView::skip() {
    if (first_run::footer(step_).skip) {
        complete();
    }
}

void FirstRunWizardView::complete() {
    helperRefresh_.stop();
    // The window removes the wizard when it sees this.
    engine_.setHasCompletedFirstRunSetup(true);
}

void FirstRunWizardView::requestNotifications() {
    notificationsRequested_ = true;
    if (!notifications_.isUsable()) {
        notificationsGranted_ = false;
        refresh();
        return;
    }
    refresh();
    notifications_.requestAuthorization(
        [this, alive = std::weak_ptr(lifetime_)](bool granted, const std::optional<std::string>& error) {
            if (alive.expired()) {
                return;
            }
            notificationsGranted_ = granted && !error;
            refresh();
        });
}

void FirstRunWizardView::setLoginItem(bool enabled) {
    const std::optional<std::string> error = loginItem_.setEnabled(enabled);
    loginItemError_ = error ? std::optional(QString::fromStdString(*error)) : std::nullopt;
    loginItemEnabled_ = error ? loginItem_.isEnabled() : enabled;
    refresh();
}

void FirstRunWizardView::startTransition() {
    transitionLength_ = first_run::transitionMilliseconds(theme::prefersReducedMotion());
    fade_->setOpacity(0.0);
    transitionClock_.start();
    transition_.start();
}

void FirstRunWizardView::refreshHelper() {
    const first_run::HelperStatus status = first_run::helperStatus(engine_.helperState().value());
    helperStatus_->setContent(status.text, status.symbol,
                              settings::helperTint(engine_.helperState().value()));
    helperAction_->setTitle(status.actionTitle);
    helperAction_->setVisible(status.action != first_run::HelperAction::none);
    helperNote_->setText(status.note);
    helperNote_->setVisible(!status.note.isEmpty());
}

void FirstRunWizardView::refresh() {
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    const first_run::StepText text = first_run::stepText(step_);
    static_cast<StepIcon*>(icon_)->setSymbol(text.symbol, accent);
    title_->setText(text.title);
    subtitle_->setText(text.subtitle);
    const auto index =
        static_cast<std::size_t>(std::ranges::find(first_run::steps, step_) - first_run::steps.begin());
    bodies_->setCurrentIndex(static_cast<int>(index));
    static_cast<PageDots*>(dots_)->setCurrent(index, accent);
    const first_run::Footer footer = first_run::footer(step_);
    back_->setVisible(footer.back);
    skip_->setVisible(footer.skip);
    main_->setTitle(footer.main);
    for (AccentButton* button :
         {static_cast<AccentButton*>(main_), static_cast<AccentButton*>(helperAction_),
          static_cast<AccentButton*>(notifyButton_), static_cast<AccentButton*>(loginToggle_)}) {
        button->setAccent(accent);
    }

    notifyButton_->setVisible(!notificationsRequested_);
    const first_run::NotificationOutcome outcome = first_run::notificationOutcome(notificationsGranted_);
    notifyStatus_->setContent(outcome.text, outcome.symbol,
                              notificationsGranted_ ? std::optional(QColor(0x34, 0xC7, 0x59)) : std::nullopt);
    notifyStatus_->setVisible(notificationsRequested_);
    notifyNote_->setText(outcome.note);
    notifyNote_->setVisible(notificationsRequested_ && !outcome.note.isEmpty());

    {
        const QSignalBlocker block(loginToggle_);
        loginToggle_->setChecked(loginItemEnabled_);
    }
    loginError_->setText(loginItemError_.value_or(QString()));
    loginError_->setVisible(loginItemError_.has_value());
}

void FirstRunWizardView::paintEvent(QPaintEvent* /*event*/) {
    // The window shows dimly through, so the setup reads as in front of it.
    QPainter painter(this);
    QColor veil = theme::cardBackground(theme::currentAppearance());
    veil.setAlphaF(theme::currentAppearance() == theme::Appearance::dark ? 0.72F : 0.62F);
    painter.fillRect(rect(), veil);
}

void FirstRunWizardView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        main_->click();
        event->accept();
        return;
    case Qt::Key_Escape:
        // Leaving the setup is "Skip Setup", never a stray key.
        event->accept();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void FirstRunWizardView::showEvent(QShowEvent* event) {
    if (step_ == Step::helper) {
        helperRefresh_.start();
    }
    QWidget::showEvent(event);
}

void FirstRunWizardView::hideEvent(QHideEvent* event) {
    helperRefresh_.stop();
    QWidget::hideEvent(event);
}

} // namespace halvoren
