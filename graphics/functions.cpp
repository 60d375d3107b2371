#include "graphics/functions.h"

#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include "graphics/data_source.h"
#include "graphics/wave_function.h"

namespace {
const CSquareSymbol kSquare;
const CTriangleSymbol kTriangle;
const CCircleSymbol kCircle;
const CCrossSymbol kCross;
const CDiamondSymbol kDiamond;
const CDataSymbol* const kSymbols[] = {nullptr, &kSquare, &kTriangle, &kCircle, &kCross, &kDiamond};
} // namespace

const CDataSymbol* CDataSymbol::Of(int symbol) {
    return symbol > 0 && symbol < static_cast<int>(std::size(kSymbols)) ? kSymbols[symbol] : nullptr;
}

void CSquareSymbol::Draw(QPainter& p, QPointF at, double size) const {
    p.drawRect(QRectF(at.x() - size / 2, at.y() - size / 2, size, size));
}
void CTriangleSymbol::Draw(QPainter& p, QPointF at, double size) const {
    const double h = size / 2;
    const QPointF points[] = {{at.x(), at.y() - h}, {at.x() + h, at.y() + h}, {at.x() - h, at.y() + h}};
    p.drawPolygon(points, 3);
}
void CCircleSymbol::Draw(QPainter& p, QPointF at, double size) const {
    p.drawEllipse(at, size / 2, size / 2);
}
void CCrossSymbol::Draw(QPainter& p, QPointF at, double size) const {
    const double h = size / 2;
    p.drawLine(QPointF(at.x() - h, at.y() - h), QPointF(at.x() + h, at.y() + h));
    p.drawLine(QPointF(at.x() - h, at.y() + h), QPointF(at.x() + h, at.y() - h));
}
void CDiamondSymbol::Draw(QPainter& p, QPointF at, double size) const {
    const double h = size / 2;
    const QPointF points[] = {
        {at.x(), at.y() - h}, {at.x() + h, at.y()}, {at.x(), at.y() + h}, {at.x() - h, at.y()}};
    p.drawPolygon(points, 4);
}

CFunction::CFunction(std::shared_ptr<SSPFunctionParams> params, std::shared_ptr<CDataSet> data)
    : m_params(std::move(params)), m_data(std::move(data)) {}

CFunction::~CFunction() {
    if (m_source) m_source->Stop();
}

void CFunction::SetParams(std::shared_ptr<SSPFunctionParams> params) {
    if (params && params->Type() == Type()) m_params = std::move(params);
}

void CFunction::SetSource(std::shared_ptr<CDataSource> source) {
    if (m_source && m_source != source) m_source->Stop();
    m_source = std::move(source);
}

Text CFunction::SourceName() const {
    return m_source ? m_source->Name() : Text(L"*");
}

void CFunction::StopWork() {
    if (m_source) m_source->Stop();
}

QPen CFunction::LinePen(bool print) const {
    QPen pen(ToQColor(m_params->color.Of(print)), std::max(1, m_params->lineWidth));
    pen.setStyle(ToPenStyle(m_params->lineStyle));
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}

void CXYFunction::Draw(QPainter& p, const SPlotMap& map, bool print) {
    auto* data = dynamic_cast<CXYDataSet*>(m_data.get());
    if (!data || !map.x || !map.y) return;
    std::vector<double> xs, ys;
    data->Copy(std::min(map.x->ViewLow(), map.x->ViewHigh()), std::max(map.x->ViewLow(), map.x->ViewHigh()),
               xs, ys);
    if (xs.empty()) return;
    QPolygonF points;
    points.reserve(static_cast<int>(xs.size()) * (m_params->steps ? 2 : 1));
    for (size_t i = 0; i < xs.size(); ++i) {
        const QPointF at = map.Map(xs[i], ys[i]);
        // A staircase holds each value until the next point.
        if (m_params->steps && i > 0) points.append(map.Map(xs[i], ys[i - 1]));
        points.append(at);
    }
    const QPen pen = LinePen(print);
    p.setPen(pen);
    switch (m_params->drawStyle) {
    case DRAW_LINES:
        p.drawPolyline(points);
        break;
    case DRAW_AREA: {
        const double base = m_params->hasFillBase
                                ? m_params->fillBase
                                : std::max(map.y->ViewLow(), std::min(0.0, map.y->ViewHigh()));
        QPolygonF area = points;
        area.append(map.Map(xs.back(), base));
        area.prepend(map.Map(xs.front(), base));
        p.setBrush(ToQColor(m_params->color.Of(print)));
        p.drawPolygon(area);
        p.setBrush(Qt::NoBrush);
        break;
    }
    default:
        break;
    }
    const CDataSymbol* symbol = CDataSymbol::Of(m_params->symbol);
    // Points without a symbol of their own are shown as small squares.
    if (!symbol && m_params->drawStyle == DRAW_POINTS) symbol = CDataSymbol::Of(SYMBOL_SQUARE);
    if (!symbol) return;
    QPen symbolPen = pen;
    symbolPen.setStyle(Qt::SolidLine);
    p.setPen(symbolPen);
    const double size = std::max(2, m_params->symbolSize);
    for (size_t i = 0; i < xs.size(); ++i) symbol->Draw(p, map.Map(xs[i], ys[i]), size);
}

namespace {
struct SFunctionRow {
    int type;
    std::unique_ptr<CFunction> (*make)(std::shared_ptr<SSPFunctionParams>, std::shared_ptr<CDataSet>);
    std::shared_ptr<SSPFunctionParams> (*params)();
};
template <class F>
std::unique_ptr<CFunction> Make(std::shared_ptr<SSPFunctionParams> p, std::shared_ptr<CDataSet> d) {
    return std::make_unique<F>(std::move(p), std::move(d));
}
template <class P> std::shared_ptr<SSPFunctionParams> Params() {
    return std::make_shared<P>();
}
constexpr SFunctionRow kFunctions[] = {
    {FUNC_XY, &Make<CXYFunction>, &Params<SSPXYFunctionParams>},
    {FUNC_PARAMETER, &Make<CParamFunction>, &Params<SSPParamFunctionParams>},
    {FUNC_SPECTROGRAM, &Make<CSpecFunction>, &Params<SSPSpectrogramParams>},
    {FUNC_WAVEFORM, &Make<CWaveFunction>, &Params<SSPWaveFunctionParams>},
    {FUNC_SCATTER, &Make<CScatterFunction>, &Params<SSPScatterFunctionParams>},
    {FUNC_WATERFALL, &Make<CSpecFunction>, &Params<SSPWaterfallParams>},
};
} // namespace

std::unique_ptr<CFunction> MakeFunction(std::shared_ptr<SSPFunctionParams> params,
                                        std::shared_ptr<CDataSet> data) {
    for (const SFunctionRow& row : kFunctions)
        if (params && row.type == params->Type() && row.make)
            return row.make(std::move(params), std::move(data));
    return nullptr;
}

std::shared_ptr<SSPFunctionParams> MakeParams(int type) {
    for (const SFunctionRow& row : kFunctions)
        if (row.type == type) return row.params();
    return nullptr;
}
