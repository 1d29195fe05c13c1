#pragma once

// The classes of the texts that the comparison reads, each as a list of its members: from it come the class as ours and
// the peers have it, its description, the way through its members, and so the texts. Kinds have several classes, whose
// names, sizes and order of members differ; the seed of a text chooses among them.

// M(type, name) for each member; String, List and Counts are what the namespace at hand calls so.

#define BENCH_Integers(M)  M(List<std::int64_t>, values)
#define BENCH_Samples(M)   M(String, source) M(std::int32_t, rate) M(List<std::int64_t>, samples)
#define BENCH_Histogram(M) M(List<std::int64_t>, how_often_each_of_them_was_seen)

#define BENCH_Doubles(M) M(List<double>, values)
#define BENCH_Signal(M)  M(String, unit) M(List<double>, amplitudes) M(double, rate)

#define BENCH_Matrix(M) M(List<List<std::int32_t>>, rows)

#define BENCH_Strings(M) M(List<String>, values)
#define BENCH_Lines(M)   M(String, title) M(List<String>, lines)

#define BENCH_Tally(M) M(Counts, values)
#define BENCH_Index(M) M(String, title) M(Counts, pages)

#define BENCH_Tree(M) M(std::int64_t, value) M(List<Tree>, inner)

// --- Records

#define BENCH_Reading(M)                                                                                               \
    M(String, name)                                                                                                    \
    M(std::int64_t, serial)                                                                                            \
    M(double, temperature)                                                                                             \
    M(bool, valid)                                                                                                     \
    M(Unit, unit)                                                                                                      \
    M(List<double>, position)                                                                                          \
    M(std::int32_t, channel)
#define BENCH_Readings(M) M(List<Reading>, values)

#define BENCH_Trade(M)                                                                                                 \
    M(std::int64_t, id)                                                                                                \
    M(String, symbol)                                                                                                  \
    M(double, price)                                                                                                   \
    M(List<std::int32_t>, lots)                                                                                        \
    M(bool, is_open)                                                                                                   \
    M(std::int32_t, account)                                                                                           \
    M(Severity, severity)
#define BENCH_Trades(M) M(String, exchange) M(List<Trade>, trades)

#define BENCH_Person(M)                                                                                                \
    M(String, first_name)                                                                                              \
    M(String, last_name)                                                                                               \
    M(String, electronic_mail_address)                                                                                 \
    M(std::int32_t, age)                                                                                               \
    M(double, height_in_metres)                                                                                        \
    M(bool, may_be_written_to)                                                                                         \
    M(List<std::int32_t>, scores)                                                                                      \
    M(double, balance)                                                                                                 \
    M(std::int64_t, number_of_the_household)
#define BENCH_People(M) M(List<Person>, people)

#define BENCH_Vertex(M)                                                                                                \
    M(double, x)                                                                                                       \
    M(double, y)                                                                                                       \
    M(double, z)                                                                                                       \
    M(std::int32_t, id)                                                                                                \
    M(String, tag)
#define BENCH_Mesh(M) M(String, name) M(List<Vertex>, vertices)

#define BENCH_Flight(M)                                                                                                \
    M(String, from)                                                                                                    \
    M(String, to)                                                                                                      \
    M(std::int32_t, number)                                                                                            \
    M(std::int64_t, departure)                                                                                         \
    M(std::int64_t, arrival)                                                                                           \
    M(bool, is_late)                                                                                                   \
    M(bool, is_full)                                                                                                   \
    M(Severity, delay)                                                                                                 \
    M(List<std::int32_t>, gates)                                                                                       \
    M(List<String>, crew)                                                                                              \
    M(double, fuel)                                                                                                    \
    M(double, distance)
#define BENCH_Flights(M) M(List<Flight>, flights)

// --- Configuration

#define BENCH_Limits(M) M(std::int32_t, connections) M(double, timeout) M(std::int64_t, memory)
#define BENCH_Route(M)  M(String, path) M(String, target) M(List<std::int32_t>, codes) M(bool, cached)
#define BENCH_Server(M)                                                                                                \
    M(String, host)                                                                                                    \
    M(std::int32_t, port)                                                                                              \
    M(bool, secure)                                                                                                    \
    M(List<String>, aliases)                                                                                           \
    M(Limits, limits)                                                                                                  \
    M(List<Route>, routes)
#define BENCH_Logging(M)                                                                                               \
    M(Severity, severity) M(String, file) M(bool, rotate) M(std::int32_t, keep) M(List<String>, categories)
#define BENCH_Configuration(M) M(String, name) M(std::int32_t, version) M(Logging, logging) M(List<Server>, servers)

#define BENCH_Variable(M) M(String, key) M(String, value)
#define BENCH_Step(M)     M(String, run) M(String, shell) M(double, timeout_in_minutes)
#define BENCH_Job(M)                                                                                                   \
    M(String, name)                                                                                                    \
    M(String, image)                                                                                                   \
    M(List<String>, needs)                                                                                             \
    M(List<Variable>, environment)                                                                                     \
    M(List<Step>, steps)                                                                                               \
    M(bool, may_fail)
#define BENCH_Pipeline(M) M(String, title) M(List<Variable>, variables) M(List<Job>, jobs)

#define BENCH_Transform(M) M(List<double>, translation) M(List<double>, rotation) M(double, scale)
#define BENCH_Material(M)  M(String, name) M(List<double>, colour) M(double, roughness) M(bool, transparent)
#define BENCH_Body(M)                                                                                                  \
    M(String, name) M(Transform, transform) M(List<Material>, materials) M(std::int32_t, triangles) M(Unit, unit)
#define BENCH_Camera(M) M(Transform, transform) M(double, angle) M(bool, perspective)
#define BENCH_Scene(M)  M(String, title) M(Camera, camera) M(List<Body>, bodies)

// All of them, what is nested first. A text is an object of one of the second list.
// clang-format off
#define BENCH_INNER_CLASSES(CLASS)                                                                                     \
    CLASS(Reading) CLASS(Trade) CLASS(Person) CLASS(Vertex) CLASS(Flight)                                              \
    CLASS(Limits) CLASS(Route) CLASS(Server) CLASS(Logging)                                                            \
    CLASS(Variable) CLASS(Step) CLASS(Job)                                                                             \
    CLASS(Transform) CLASS(Material) CLASS(Body) CLASS(Camera)
#define BENCH_ROOT_CLASSES(CLASS)                                                                                      \
    CLASS(Integers) CLASS(Samples) CLASS(Histogram) CLASS(Doubles) CLASS(Signal) CLASS(Matrix)                         \
    CLASS(Strings) CLASS(Lines) CLASS(Tally) CLASS(Index) CLASS(Tree)                                                  \
    CLASS(Readings) CLASS(Trades) CLASS(People) CLASS(Mesh) CLASS(Flights)                                             \
    CLASS(Configuration) CLASS(Pipeline) CLASS(Scene)
// clang-format on

#define BENCH_Unit(E)     E(METRE) E(KELVIN) E(SECOND) E(PASCAL)
#define BENCH_Severity(E) E(NONE) E(NOTE) E(WARNING) E(ERROR) E(FATAL)
#define BENCH_ENUMS(ENUM) ENUM(Unit) ENUM(Severity)

namespace kelm::bench
{

#define BENCH_ROOT_NUMBER(NAME) NAME,
enum class Root
{
    BENCH_ROOT_CLASSES(BENCH_ROOT_NUMBER)
};
#undef BENCH_ROOT_NUMBER

#define BENCH_ONE_MORE(NAME) +1
inline constexpr int s_rootCount = 0 BENCH_ROOT_CLASSES(BENCH_ONE_MORE);
#undef BENCH_ONE_MORE

} // namespace kelm::bench
