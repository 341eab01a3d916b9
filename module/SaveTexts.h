// The messages of the save path.
#ifndef TLMMEAS_SAVETEXTS_H
#define TLMMEAS_SAVETEXTS_H

inline constexpr char kRefusedTitle[] = "Ошибка";
inline constexpr char kNumberTaken[] = "Измерение с таким же номером уже существует";
inline constexpr char kNumberNull[] = "Номер измерения не может быть равен 0";
inline constexpr char kNoServerGroup[] = "Не заполнена серверная группа";
inline constexpr char kNoArchiveGroup[] = "Не выбрана архивная группа";
inline constexpr char kNoName[] = "Не заполнено поле Наименование";

inline constexpr char kCommitTitle[] = "Ошибка изменения данных";
// One for deletes and inserts, one for updates; they differ by two letters.
inline constexpr char kCommitFailed[] =
    "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!";
inline constexpr char kUpdateFailed[] =
    "При изменении данных возникла непредвиденная ошибка.\nДанные не были изменены!";

inline constexpr int kCommitTimeoutMs = 5000;

#endif
