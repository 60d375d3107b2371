// Functions: the drawn series of a graph. A function holds its parameters and
// a shared data set, and draws what the data set holds inside the plot.
// XY, parameter and scatter functions walk their points and draw them by
// style without reduction; the waveform is in wave_function.h.
#pragma once

#include <QPointF>
#include <memory>
#include <vector>

#include "graphics/data_set.h"
#include "graphics/graph_objects.h"

class CDataSource;
class QPainter;

// One symbol at a point; one class for each symbol, found by its number.
class CDataSymbol {
public:
    virtual ~CDataSymbol() = default;
    virtual void Draw(QPainter& p, QPointF at, double size) const = 0;
    // The symbol of a DRAWSYMBOL number, null for none.
    static const CDataSymbol* Of(int symbol);
};
class CSquareSymbol : public CDataSymbol {
public:
    void Draw(QPainter& p, QPointF at, double size) const override;
};
class CTriangleSymbol : public CDataSymbol {
public:
    void Draw(QPainter& p, QPointF at, double size) const override;
};
class CCircleSymbol : public CDataSymbol {
public:
    void Draw(QPainter& p, QPointF at, double size) const override;
};
class CCrossSymbol : public CDataSymbol {
public:
    void Draw(QPainter& p, QPointF at, double size) const override;
};
class CDiamondSymbol : public CDataSymbol {
public:
    void Draw(QPainter& p, QPointF at, double size) const override;
};

class CFunction : public CCoordinateObject, public CGraphObject {
public:
    CFunction(std::shared_ptr<SSPFunctionParams> params, std::shared_ptr<CDataSet> data);
    ~CFunction() override;
    int Type() const { return m_params->Type(); }
    SSPFunctionParams& Params() { return *m_params; }
    const SSPFunctionParams& Params() const { return *m_params; }
    void SetParams(std::shared_ptr<SSPFunctionParams> params);
    const std::shared_ptr<CDataSet>& DataSet() const { return m_data; }

    // The source that feeds the data set (stopped when replaced or when the function goes).
    void SetSource(std::shared_ptr<CDataSource> source);
    const std::shared_ptr<CDataSource>& Source() const { return m_source; }
    Text SourceName() const;

    // Draws into the plot (clipped by the caller).
    virtual void Draw(QPainter& p, const SPlotMap& map, bool print) = 0;
    // Background work still running for this function.
    virtual bool Calculating() const { return false; }
    // Stops background work and waits for it.
    virtual void StopWork();

protected:
    QPen LinePen(bool print) const;

    std::shared_ptr<SSPFunctionParams> m_params;
    std::shared_ptr<CDataSet> m_data;
    std::shared_ptr<CDataSource> m_source;
};

// XY pairs, parameter tracks and scatter points: walked, mapped, drawn by style.
class CXYFunction : public CFunction {
public:
    using CFunction::CFunction;
    void Draw(QPainter& p, const SPlotMap& map, bool print) override;
};
class CParamFunction : public CXYFunction {
public:
    using CXYFunction::CXYFunction;
};
class CScatterFunction : public CXYFunction {
public:
    using CXYFunction::CXYFunction;
};

// Spectra (types 2 and 5): the function holds parameters and data; the
// spectrogram renderer draws them.
class CSpecFunction : public CFunction {
public:
    using CFunction::CFunction;
    void Draw(QPainter&, const SPlotMap&, bool) override {}
};

// A function of the parameters' type over a data set (null for a type not drawn here).
std::unique_ptr<CFunction> MakeFunction(std::shared_ptr<SSPFunctionParams> params,
                                        std::shared_ptr<CDataSet> data);
// Parameters of a function type with their defaults.
std::shared_ptr<SSPFunctionParams> MakeParams(int type);
