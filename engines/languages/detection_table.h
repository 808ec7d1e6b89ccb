// The names of files in each language: whole file names, and suffixes.
//
// Internal to this folder: detection.cpp searches these lists, language_infos() gives them. They
// hold what the common catalogues of file types agree on. A suffix that several languages share
// belongs to the one that most readers would name (.ts is TypeScript and not a translation of Qt,
// .rs is Rust, .md is Markdown). Where readers would differ (.inc, .spec, .cgi, .gs, .res) no
// language has it, since a wrong grammar costs more than a file left out. Also left out are
// suffixes that mostly name binary or tabular data (.pt, .tab), and languages that only resemble
// one of ours (Starlark, Cython, JSON5). A file that may be JSON or YAML is YAML, whose grammar
// reads both; .eslintrc is JSON, since its comments are JavaScript's.
//
// File names are compared exactly, so there is an entry for each spelling that tools accept.
// Suffixes are in lower case and begin with a full stop; they may have more full stops. The
// compiler checks that each list is sorted, and the tests check that no text stands in two lists.
//
// Tested by tests/detection_test.cpp.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace engines::languages {

// The formatter would give each entry a line.
// clang-format off

inline constexpr std::string_view PYTHON_FILE_NAMES[] = {
    ".gclient", "DEPS", "SConscript", "SConstruct", "wscript"};
inline constexpr std::string_view PYTHON_SUFFIXES[] = {
    ".gyp", ".gypi", ".lmi", ".py", ".py3", ".pyde", ".pyi", ".pyp", ".pyt", ".pyw", ".tac",
    ".wsgi", ".xpy"};

inline constexpr std::string_view JAVASCRIPT_FILE_NAMES[] = {"Jakefile"};
inline constexpr std::string_view JAVASCRIPT_SUFFIXES[] = {
    "._js", ".bones", ".cjs", ".es6", ".jake", ".javascript", ".js", ".jsb", ".jscad", ".jsfl",
    ".jslib", ".jsm", ".jspre", ".jss", ".jsx", ".mjs", ".njs", ".pac", ".sjs", ".ssjs", ".xsjs",
    ".xsjslib"};

inline constexpr std::string_view TYPESCRIPT_SUFFIXES[] = {".cts", ".mts", ".ts"};

inline constexpr std::string_view TSX_SUFFIXES[] = {".tsx"};

inline constexpr std::string_view JAVA_SUFFIXES[] = {".jav", ".java", ".jsh"};

inline constexpr std::string_view GO_SUFFIXES[] = {".go"};

inline constexpr std::string_view RUST_SUFFIXES[] = {".rs", ".rs.in"};

inline constexpr std::string_view CSHARP_SUFFIXES[] = {".cake", ".cs", ".cs.pp", ".csx"};

inline constexpr std::string_view RUBY_FILE_NAMES[] = {
    ".irbrc", ".pryrc", ".simplecov", "Appraisals", "Berksfile", "Brewfile", "Buildfile", "Capfile",
    "Dangerfile", "Deliverfile", "Fastfile", "Gemfile", "Guardfile", "Jarfile", "Mavenfile",
    "Podfile", "Puppetfile", "Rakefile", "Snapfile", "Steepfile", "Thorfile", "Vagrantfile",
    "buildfile", "rakefile"};
inline constexpr std::string_view RUBY_SUFFIXES[] = {
    ".builder", ".eye", ".gemspec", ".god", ".jbuilder", ".mspec", ".podspec", ".prawn", ".rabl",
    ".rake", ".rb", ".rbi", ".rbuild", ".rbw", ".rbx", ".ru", ".ruby", ".thor", ".watchr"};

inline constexpr std::string_view PHP_FILE_NAMES[] = {".php_cs", ".php_cs.dist", "Phakefile"};
inline constexpr std::string_view PHP_SUFFIXES[] = {
    ".aw", ".ctp", ".php", ".php3", ".php4", ".php5", ".php7", ".phps", ".phpt", ".phtml"};

inline constexpr std::string_view SQL_SUFFIXES[] = {
    ".bdy", ".db2", ".ddl", ".fnc", ".hql", ".mysql", ".pck", ".pgsql", ".pkb", ".pks", ".pls",
    ".plsql", ".prc", ".psql", ".spc", ".sql", ".tpb", ".tps", ".trg", ".udf", ".viw", ".vw"};

inline constexpr std::string_view MARKDOWN_FILE_NAMES[] = {"contents.lr"};
inline constexpr std::string_view MARKDOWN_SUFFIXES[] = {
    ".apib", ".livemd", ".markdn", ".markdown", ".md", ".mdown", ".mdtext", ".mdtxt", ".mdwn",
    ".mdx", ".mkd", ".mkdn", ".mkdown", ".qmd", ".rmd", ".ronn", ".workbook"};

inline constexpr std::string_view XML_FILE_NAMES[] = {
    ".classpath", ".project", "App.config", "NuGet.Config", "NuGet.config", "Settings.StyleCop",
    "Web.Debug.config", "Web.Release.config", "Web.config", "app.config", "nuget.config",
    "packages.config", "web.config"};
inline constexpr std::string_view XML_SUFFIXES[] = {
    ".adml", ".admx", ".ant", ".arxml", ".atom", ".axaml", ".axml", ".bpmn", ".builds", ".ccproj",
    ".ccxml", ".clixml", ".cproject", ".cscfg", ".csdef", ".csl", ".csproj", ".ct", ".dae",
    ".depproj", ".dita", ".ditamap", ".ditaval", ".dll.config", ".dotsettings", ".entitlements",
    ".filters", ".fsproj", ".fxml", ".glade", ".gmx", ".gpx", ".graphml", ".grxml", ".hzp", ".icls",
    ".iml", ".ivy", ".jelly", ".jrxml", ".jsproj", ".kml", ".launch", ".mdpolicy", ".meta4",
    ".mjml", ".mxml", ".natvis", ".ndproj", ".nproj", ".nuspec", ".odd", ".opml", ".osm", ".owl",
    ".pkgproj", ".plist", ".proj", ".props", ".ps1xml", ".psc1", ".pubxml", ".qhelp", ".rbxmx",
    ".rdf", ".resw", ".resx", ".rng", ".rss", ".ruleset", ".runsettings", ".scxml", ".sfproj",
    ".shproj", ".slnx", ".srdf", ".storyboard", ".sttheme", ".sublime-snippet", ".svg", ".targets",
    ".tld", ".tmcommand", ".tml", ".tmlanguage", ".tmpreferences", ".tmsnippet", ".tmtheme", ".ui",
    ".urdf", ".ux", ".vbproj", ".vcxproj", ".vsct", ".vsixmanifest", ".vssettings", ".vstemplate",
    ".vxml", ".wadl", ".wixproj", ".wsdl", ".wsf", ".wxi", ".wxl", ".wxs", ".x3d", ".xacro",
    ".xaml", ".xcscheme", ".xcworkspacedata", ".xib", ".xlf", ".xliff", ".xmi", ".xml", ".xml.dist",
    ".xmp", ".xpl", ".xproc", ".xproj", ".xsd", ".xsl", ".xslt", ".xsp-config", ".xsp.metadata",
    ".xspec", ".xul", ".zcml"};

inline constexpr std::string_view JSON_FILE_NAMES[] = {
    ".all-contributorsrc", ".arcconfig", ".auto-changelog", ".babelrc", ".bowerrc", ".c8rc",
    ".eslintrc", ".htmlhintrc", ".imgbotconfig", ".jscsrc", ".jshintrc", ".jslintrc", ".nycrc",
    ".secrets.baseline", ".swcrc", ".tern-config", ".tern-project", ".watchmanconfig",
    "MODULE.bazel.lock", "Notebook", "Package.resolved", "Pipfile.lock", "bun.lock",
    "composer.lock", "deno.lock", "flake.lock", "mcmod.info"};
inline constexpr std::string_view JSON_SUFFIXES[] = {
    ".4dform", ".4dproject", ".avsc", ".code-snippets", ".code-workspace", ".geojson", ".gltf",
    ".har", ".hujson", ".ipynb", ".json", ".json-tmlanguage", ".json.example", ".jsonc", ".jsonl",
    ".jsonld", ".maxhelp", ".maxpat", ".maxproj", ".mcmeta", ".ndjson", ".sarif", ".slnlaunch",
    ".sublime-build", ".sublime-color-scheme", ".sublime-commands", ".sublime-completions",
    ".sublime-keymap", ".sublime-macro", ".sublime-menu", ".sublime-mousemap", ".sublime-project",
    ".sublime-settings", ".sublime-theme", ".sublime-workspace", ".sublime_metrics",
    ".sublime_session", ".tfstate", ".tfstate.backup", ".topojson", ".webapp", ".webmanifest",
    ".yyp"};

inline constexpr std::string_view YAML_FILE_NAMES[] = {
    ".clang-format", ".clang-tidy", ".clangd", ".condarc", ".gemrc", ".prettierrc", ".releaserc",
    ".stylelintrc", ".yamllint", "CITATION.cff", "Chart.lock", "Podfile.lock", "_clang-format",
    "glide.lock", "pixi.lock", "pubspec.lock", "yarn.lock"};
inline constexpr std::string_view YAML_SUFFIXES[] = {
    ".cwl", ".ksy", ".mir", ".raml", ".reek", ".rviz", ".sublime-syntax", ".syntax", ".yaml",
    ".yaml-tmlanguage", ".yaml.sed", ".yml", ".yml.mysql"};

inline constexpr std::string_view TOML_FILE_NAMES[] = {
    "Cargo.lock", "Cargo.toml.orig", "Gopkg.lock", "Pipfile", "mise.local.lock", "mise.lock",
    "pdm.lock", "poetry.lock", "uv.lock"};
inline constexpr std::string_view TOML_SUFFIXES[] = {".toml", ".toml.example"};

// clang-format on

struct Detection {
  std::string_view language;
  std::span<const std::string_view> file_names;
  std::span<const std::string_view> suffixes;
};

// In the order in which the documents list the languages.
inline constexpr auto DETECTION = std::to_array<Detection>({
    {"python", PYTHON_FILE_NAMES, PYTHON_SUFFIXES},
    {"javascript", JAVASCRIPT_FILE_NAMES, JAVASCRIPT_SUFFIXES},
    {"typescript", {}, TYPESCRIPT_SUFFIXES},
    {"tsx", {}, TSX_SUFFIXES},
    {"java", {}, JAVA_SUFFIXES},
    {"go", {}, GO_SUFFIXES},
    {"rust", {}, RUST_SUFFIXES},
    {"csharp", {}, CSHARP_SUFFIXES},
    {"ruby", RUBY_FILE_NAMES, RUBY_SUFFIXES},
    {"php", PHP_FILE_NAMES, PHP_SUFFIXES},
    {"sql", {}, SQL_SUFFIXES},
    {"markdown", MARKDOWN_FILE_NAMES, MARKDOWN_SUFFIXES},
    {"xml", XML_FILE_NAMES, XML_SUFFIXES},
    {"json", JSON_FILE_NAMES, JSON_SUFFIXES},
    {"yaml", YAML_FILE_NAMES, YAML_SUFFIXES},
    {"toml", TOML_FILE_NAMES, TOML_SUFFIXES},
});

}  // namespace engines::languages
