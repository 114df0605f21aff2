#include "session/BuiltInTexts.h"

#include <array>

#include <vlq/host/VLQAppearance.h>

namespace vlq::session {

namespace {

// One row per language, English first. Translations follow each platform's usual wording for
// the same controls; the progress and rating values keep the numbers where the language puts them.
constexpr std::array<BuiltInTexts, 11> kTexts{{
    {"en", "Skip", "Next", "Submit Feedback", "Please type your reason.", "Close survey", "Back",
     "Survey progress", "Question {1} of {2}", "Other answer", "Rating {1} of {2}"},
    {"de", "Überspringen", "Weiter", "Feedback senden", "Bitte geben Sie Ihren Grund ein.",
     "Umfrage schließen", "Zurück", "Umfragefortschritt", "Frage {1} von {2}", "Andere Antwort",
     "Bewertung {1} von {2}"},
    {"fr", "Passer", "Suivant", "Envoyer l’avis", "Veuillez indiquer votre raison.",
     "Fermer l’enquête", "Retour", "Progression de l’enquête", "Question {1} sur {2}",
     "Autre réponse", "Note {1} sur {2}"},
    {"es", "Omitir", "Siguiente", "Enviar opinión", "Escribe tu motivo.", "Cerrar encuesta",
     "Atrás", "Progreso de la encuesta", "Pregunta {1} de {2}", "Otra respuesta",
     "Valoración {1} de {2}"},
    {"it", "Salta", "Avanti", "Invia feedback", "Scrivi il motivo.", "Chiudi sondaggio", "Indietro",
     "Avanzamento del sondaggio", "Domanda {1} di {2}", "Altra risposta", "Valutazione {1} di {2}"},
    {"pt", "Pular", "Próxima", "Enviar opinião", "Digite o seu motivo.", "Fechar pesquisa",
     "Voltar", "Progresso da pesquisa", "Pergunta {1} de {2}", "Outra resposta",
     "Avaliação {1} de {2}"},
    {"nl", "Overslaan", "Volgende", "Feedback versturen", "Typ je reden.", "Enquête sluiten",
     "Terug", "Voortgang van de enquête", "Vraag {1} van {2}", "Ander antwoord",
     "Beoordeling {1} van {2}"},
    {"ja", "スキップ", "次へ", "フィードバックを送信", "理由を入力してください。",
     "アンケートを閉じる", "戻る", "アンケートの進捗", "質問 {1}/{2}", "その他の回答",
     "評価 {1}/{2}"},
    {"zh", "跳过", "下一题", "提交反馈", "请输入您的理由。", "关闭调查", "返回", "调查进度",
     "第 {1} 题，共 {2} 题", "其他答案", "评分 {1}/{2}"},
    {"ar", "تخطٍّ", "التالي", "إرسال الملاحظات", "يرجى كتابة السبب.", "إغلاق الاستطلاع", "رجوع",
     "تقدّم الاستطلاع", "السؤال {1} من {2}", "إجابة أخرى", "التقييم {1} من {2}"},
    {"he", "דילוג", "הבא", "שליחת משוב", "נא להקליד את הסיבה.", "סגירת הסקר", "חזרה",
     "התקדמות הסקר", "שאלה {1} מתוך {2}", "תשובה אחרת", "דירוג {1} מתוך {2}"},
}};

}  // namespace

const BuiltInTexts& englishTexts() {
  return kTexts.front();
}

const BuiltInTexts& builtInTextsFor(std::string_view locale) {
  VLQAppearance appearance;
  appearance.locale = std::string(locale);
  auto language = appearance.language();
  if (language == "iw") language = "he";  // the old code for Hebrew, still sent by some systems
  for (const auto& texts : kTexts) {
    if (texts.language == language) return texts;
  }
  return englishTexts();
}

std::string fillIn(std::string_view pattern, std::int64_t first, std::int64_t second) {
  std::string text;
  for (std::size_t index = 0; index < pattern.size(); ++index) {
    if (pattern.compare(index, 3, "{1}") == 0 || pattern.compare(index, 3, "{2}") == 0) {
      text += std::to_string(pattern[index + 1] == '1' ? first : second);
      index += 2;
    } else {
      text.push_back(pattern[index]);
    }
  }
  return text;
}

}  // namespace vlq::session
