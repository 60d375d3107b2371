#include "graphics/sp_graph.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

#include "graphics/data_source.h"
#include "graphics/functions.h"
#include "graphics/graph_input.h"
#include "graphics/gui_channel.h"
#include "graphics/sp_display.h"
#include "graphics/wave_data_set.h"
#include "graphics/wave_function.h"
#include "shell/message_codes.h"

namespace {
struct SRequestRow {
    int code;
    void (CSPGraph::*handler)(SRequestBlock&);
};
constexpr int kNoSuchFunction = 67;
} // namespace

CSPGraph::CSPGraph(CSPDisplay* display, const SGraphCreate& create)
    : QWidget(nullptr), m_display(display), m_sink(create.sink), m_name(create.name),
      m_displayName(create.displayName), m_row(create.row), m_column(create.column), m_flags(create.flags) {
    m_slot->target = this;
    m_functions.resize(static_cast<size_t>(std::max(1, create.inputs)));
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(20, 20);
    m_title.m_name = L"title";
    ApplySettings();
}

CSPGraph::~CSPGraph() {
    Detach();
    if (m_display) m_display->GraphGone(this);
}

void CSPGraph::Detach() {
    if (m_detached) return;
    m_detached = true;
    m_slot->gone = true;
    m_slot->target = nullptr;
    if (m_sink) m_sink->Clear();
    // The display's close waits for this: no worker or producer may outlive the
    // window it posts to.
    for (auto& in : m_inputs)
        if (in) in->Disconnect();
    for (auto& f : m_functions)
        if (f) f->StopWork();
}

CSPIn* CSPGraph::Input(int index) {
    CFunction* f = Function(index);
    if (!f) return nullptr;
    if (m_inputs.size() < m_functions.size()) m_inputs.resize(m_functions.size());
    auto& in = m_inputs[static_cast<size_t>(index)];
    if (!in) {
        QPointer<CSPGraph> self(this);
        // Runs on the producer's thread: only a post.
        in = std::make_unique<CSPIn>([self, this] {
            GuiChannel::Post(this, [self] {
                if (self) self->update();
            });
        });
    }
    in->Bind(f->DataSet());
    return in.get();
}

int CSPGraph::WorkerCount() const {
    int n = 0;
    for (const auto& f : m_functions)
        if (f && f->Calculating()) ++n;
    return n;
}

CFunction* CSPGraph::Function(int index) const {
    return index >= 0 && index < Inputs() ? m_functions[static_cast<size_t>(index)].get() : nullptr;
}

void CSPGraph::ServeRequest(int code, SRequestBlock& block) {
    static constexpr SRequestRow kMessageMap[] = {
        {GR_GET_SETTINGS, &CSPGraph::OnGetSettings},
        {GR_COMMIT_SETTINGS, &CSPGraph::OnCommitSettings},
        {GR_GET_FUNCTION, &CSPGraph::OnGetFunction},
        {GR_SET_FUNCTION, &CSPGraph::OnSetFunction},
        {GR_SET_X, &CSPGraph::OnSetX},
        {GR_STATUS, &CSPGraph::OnStatus},
        {GR_ADD_POPUP, &CSPGraph::OnAddPopup},
        {GR_SET_POPUP, &CSPGraph::OnSetPopup},
        {GR_DEL_POPUP, &CSPGraph::OnDelPopup},
    };
    for (const SRequestRow& row : kMessageMap) {
        if (row.code == code) {
            (this->*row.handler)(block);
            return;
        }
    }
}

void CSPGraph::OnGetSettings(SRequestBlock& block) {
    if (!m_work) {
        m_work = std::make_shared<SSPGraphSettings>(m_settings);
        m_work->m_mask = 0;
    }
    *static_cast<std::shared_ptr<SSPGraphSettings>*>(block.data) = m_work;
}

void CSPGraph::OnCommitSettings(SRequestBlock& block) {
    if (!m_work || !block.args[0]) return;
    std::shared_ptr<SSPGraphSettings> changes = std::move(m_work);
    m_settings.Assign(*changes);
    ApplySettings();
}

void CSPGraph::PushSettings(const SSPGraphSettings& changes) {
    if (!m_work) {
        m_work = std::make_shared<SSPGraphSettings>(m_settings);
        m_work->m_mask = 0;
    }
    m_work->Assign(changes);
    SRequestBlock commit;
    commit.args[0] = 1;
    OnCommitSettings(commit);
}

void CSPGraph::OnGetFunction(SRequestBlock& block) {
    auto& r = *static_cast<SFunctionRequest*>(block.data);
    CFunction* f = Function(r.index);
    if (!f) return;
    // A copy: the shell changes it and hands it back with GR_SET_FUNCTION.
    std::shared_ptr<SSPFunctionParams> copy = f->Params().Clone();
    r.params = std::move(copy);
}

void CSPGraph::OnSetFunction(SRequestBlock& block) {
    auto& r = *static_cast<SFunctionRequest*>(block.data);
    if (r.index < 0 || r.index >= Inputs()) {
        r.code = 66;
        return;
    }
    std::unique_ptr<CFunction>& slot = m_functions[static_cast<size_t>(r.index)];
    if (!slot && !r.params) {
        r.code = kNoSuchFunction;
        return;
    }
    if (r.params && (!slot || slot->Type() != r.params->Type())) {
        std::unique_ptr<CFunction> made = MakeFunction(r.params, MakeDataSet(r.params->Type()));
        if (!made) {
            r.code = kNoSuchFunction;
            return;
        }
        if (slot) slot->StopWork();
        if (static_cast<size_t>(r.index) < m_inputs.size() && m_inputs[static_cast<size_t>(r.index)]) {
            m_inputs[static_cast<size_t>(r.index)]->Unbind(slot ? slot->DataSet().get() : nullptr);
            m_inputs[static_cast<size_t>(r.index)]->Bind(made->DataSet());
        }
        slot = std::move(made);
    } else if (r.params) {
        slot->SetParams(r.params);
    }
    if (auto* wave = dynamic_cast<CWaveFunction*>(slot.get())) {
        QPointer<CSPGraph> self(this);
        wave->SetRepaintTarget(this, [self] {
            if (self) self->update();
        });
        auto& params = static_cast<SSPWaveFunctionParams&>(slot->Params());
        auto* data = static_cast<CWaveDataSet*>(slot->DataSet().get());
        data->SetRolling(params.rolling);
        if (!data->HasData()) data->Prepare(0, CWaveSource::kBlockFrames, 1, 0, params.columns);
    }
    if (!r.keepSource && r.source) {
        if (auto* table = dynamic_cast<CTableSource*>(r.source.get()); table && !m_xValues.empty())
            table->SetX(m_xValues);
        slot->SetSource(r.source);
        QPointer<CSPGraph> self(this);
        SFeedTarget target{this,
                           [self] {
                               if (self) self->DataChanged();
                           },
                           [self](const Text& name) {
                               if (self) self->DataLoaded(name);
                           }};
        slot->DataSet()->SetName(r.source->Name());
        r.source->Start(slot->DataSet(), target);
    }
    UpdateRanges();
    Relayout();
    update();
}

void CSPGraph::OnSetX(SRequestBlock& block) {
    auto* source = static_cast<CTableSource*>(block.data);
    // Without a source the connection goes; what the functions hold stays.
    m_xValues.clear();
    m_xSource.clear();
    if (!source) return;
    m_xSource = source->Name();
    // The X values are the first column of the table.
    m_xValues = source->FirstColumn();
}

void CSPGraph::OnStatus(SRequestBlock& block) {
    StatusText(*static_cast<SGraphStatusQuery*>(block.data));
}

void CSPGraph::OnAddPopup(SRequestBlock& block) {
    const auto& r = *static_cast<SPopupRequest*>(block.data);
    block.result = m_popups.Add(r.menu, r.entries);
}

void CSPGraph::OnSetPopup(SRequestBlock& block) {
    const auto& r = *static_cast<SPopupRequest*>(block.data);
    block.result = m_popups.Replace(r.menu, r.entries);
}

void CSPGraph::OnDelPopup(SRequestBlock& block) {
    m_popups.Remove(static_cast<SPopupRequest*>(block.data)->menu);
}

void CSPGraph::DataChanged() {
    UpdateRanges();
    ComputeTicks();
    Relayout();
    update();
}

void CSPGraph::DataLoaded(const Text& name) {
    DataChanged();
    if (m_sink) m_sink->Post(MSG_DATASETLOADED, 0, std::make_unique<STextPayload>(name));
}

void CSPGraph::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Relayout();
}

void CSPGraph::mousePressEvent(QMouseEvent* event) {
    if (m_display) m_display->SetActiveGraph(this);
    QWidget::mousePressEvent(event);
}

void CSPGraph::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* menu = m_popups.Build(this, [this](int param) {
        if (m_sink) m_sink->Post(MSG_POPUP, param);
    });
    if (!menu) {
        // The display's own popup, if it has one.
        event->ignore();
        return;
    }
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void CSPGraph::paintEvent(QPaintEvent*) {
    if (!m_layoutValid) Relayout();
    // What the producers delivered so far is drawn now: the next block may ask again.
    for (const auto& in : m_inputs)
        if (in) in->Drawn();
    QPainter p(this);
    Render(p, false);
}

void CSPGraph::Render(QPainter& p, bool print) {
    if (!m_layoutValid) Relayout();
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    SPaintContext c{p, print, m_settings};
    p.fillRect(rect(), ToQColor(m_settings.bg.background.Of(print)));
    const bool active = !print && m_display && m_display->ActiveGraph() == this;
    for (int band : UsedBands()) {
        SBand& b = m_bands[static_cast<size_t>(band - 1)];
        p.fillRect(b.plot, ToQColor(m_settings.bg.plot.Of(print)));
        b.minorX.Draw(c);
        b.minorY.Draw(c);
        b.majorX.Draw(c);
        b.majorY.Draw(c);
        const SPlotMap map = MapOf(band);
        p.save();
        p.setClipRect(b.plot);
        for (const auto& f : m_functions) {
            if (!f) continue;
            const int fb = f->Params().band;
            if (fb != 0 && fb != band) continue;
            f->Draw(p, map, print);
        }
        b.markers.Draw(c);
        b.segments.Draw(c);
        if (band == UsedBands().front()) DrawLegend(c, b.plot);
        p.restore();
        // The frame around the plot on the sides its modes name.
        p.setPen(QPen(ToQColor(m_settings.labels.color.Of(print)), 1));
        const QRectF r = QRectF(b.plot).adjusted(0.5, 0.5, -0.5, -0.5);
        if (m_settings.frame.xMode & SIDE_ABOVE) p.drawLine(r.topLeft(), r.topRight());
        if (m_settings.frame.xMode & SIDE_BELOW) p.drawLine(r.bottomLeft(), r.bottomRight());
        if (m_settings.frame.yMode & SIDE_LEFT) p.drawLine(r.topLeft(), r.bottomLeft());
        if (m_settings.frame.yMode & SIDE_RIGHT) p.drawLine(r.topRight(), r.bottomRight());
        for (SStrip* s : {&b.left, &b.right}) {
            s->scale.Draw(c);
            s->labels.Draw(c);
            s->title.Draw(c);
        }
        b.leftMark.m_active = active && band == UsedBands().front();
        b.leftMark.Draw(c);
    }
    for (SStrip* s : {&m_xTop, &m_xBottom}) {
        s->scale.Draw(c);
        s->labels.Draw(c);
        s->title.Draw(c);
    }
    m_title.Draw(c);
}

void CSPGraph::DrawLegend(SPaintContext& c, const QRect& plot) const {
    const auto& legend = m_settings.legend;
    if (!legend.visible) return;
    // One line a function in the plot's upper right corner: a stroke of its colour and its source.
    QPainter& p = c.painter;
    p.setFont(ToQFont(legend.font, c.print));
    const QFontMetrics metrics(p.font());
    int y = plot.top() + 4;
    for (const auto& f : m_functions) {
        if (!f) continue;
        const QString text = QString::fromStdWString(f->SourceName());
        const int w = metrics.horizontalAdvance(text);
        const int x = plot.right() - w - 24;
        p.setPen(QPen(ToQColor(f->Params().color.Of(c.print)), 2));
        p.drawLine(x, y + metrics.height() / 2, x + 14, y + metrics.height() / 2);
        p.setPen(ToQColor(legend.color.Of(c.print)));
        p.drawText(QPoint(x + 18, y + metrics.ascent()), text);
        y += metrics.height();
    }
}
